// The command contract for integrators, rendered from the command facts: a JSON file for
// machines, the summary table of the README's command reference, and the exit-code reference.
#pragma once

#include <string>

#include "base/command_facts.h"

namespace tarn {

// The contract file: every command word with its arguments, answer, exit codes, guard and waits.
std::string ContractJson(const std::string& version);

// The header of the README's summary table, then one row per command.
std::string ReferenceTableHeader();
std::string ReferenceRow(const CommandFacts& facts);

// Every exit code, common and per command, as a Markdown document.
std::string ExitCodeReference(const std::string& version);

}  // namespace tarn
