#include "ops/installation_links.h"

#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

struct LinkOption {
  const wchar_t* word;  // lower case
  std::string InstallationLinkOptions::*value;
  const wchar_t* missing;
};

const LinkOption kLinkOptions[] = {
    {L"-kvurl", &InstallationLinkOptions::kvUrl, L"\"-kvUrl\" is missing"},
    {L"-apikey", &InstallationLinkOptions::apiKey, L"\"-apiKey\" is missing"},
    {L"-packagename", &InstallationLinkOptions::packageName, L"\"-packageName\" is empty"},
};

const LinkOption* FindLinkOption(const std::wstring& argument) {
  const std::wstring lower = ToLowerWide(argument);
  for (const auto& option : kLinkOptions) {
    if (lower == option.word) return &option;
  }
  return nullptr;
}

}  // namespace

uint32_t ParseInstallationLinkOptions(const std::vector<std::wstring>& arguments,
                                      int32_t argumentCount, InstallationLinkOptions& options,
                                      Logger* log) {
  const CommandFacts& facts = FactsOf(Command::kGetInstallationLink);
  if (argumentCount != facts.argumentCount || arguments.size() < 8) {
    WriteLog(log, facts.badArguments);
    return kErrorBadArguments;
  }
  bool known = true;
  for (size_t index = 2; index < 8 && known; index += 2) {
    const LinkOption* option = FindLinkOption(arguments[index]);
    known = option != nullptr;
    if (known) options.*option->value = WideToUtf8(arguments[index + 1]);
  }
  // A repeated option leaves another one empty, and an empty value is no value: both are
  // refused like an unknown word.
  bool complete = known;
  for (const auto& option : kLinkOptions) complete = complete && !(options.*option.value).empty();
  if (complete) return 0;

  WriteLog(log, L"Bad arguments provided.");
  for (const auto& option : kLinkOptions) {
    if ((options.*option.value).empty()) WriteLog(log, option.missing);
  }
  return kErrorBadArguments;
}

}  // namespace tarn
