#include "tools/contract/contract.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cctype>
#include <chrono>

#include "base/text.h"

namespace tarn {
namespace {

bool AsksAgent(const CommandFacts& facts) {
  return (facts.contract.traits & (kAsksAgent | kAgentQueryCodes)) != 0;
}

bool IsGuarded(const CommandFacts& facts) { return facts.permissions[0].permission != nullptr; }

// A table cell: a bar inside it would end the cell.
std::string Cell(const std::string& text) {
  std::string cell;
  for (char c : text) {
    if (c == '|') cell += '\\';
    cell += c;
  }
  return cell;
}

std::string Duration(std::chrono::seconds wait) {
  const long long seconds = wait.count();
  if (seconds % 3600 == 0) return std::to_string(seconds / 3600) + " h";
  if (seconds % 60 == 0) return std::to_string(seconds / 60) + " min";
  return std::to_string(seconds) + " s";
}

std::string CodeNumbers(const ExitCodeList& list) {
  std::string text;
  for (size_t i = 0; i < list.count; ++i) {
    if (i > 0) text += ", ";
    text += list.codes[i].code;
  }
  return text;
}

std::string GuardText(const CommandFacts& facts) {
  if (!IsGuarded(facts)) return "no";
  std::string text = facts.permissions[1].permission ? "permissions " : "permission ";
  for (size_t i = 0; i < 2 && facts.permissions[i].permission; ++i) {
    const RequiredPermission& required = facts.permissions[i];
    if (i > 0) text += ", ";
    text += std::to_string(required.permission->number);
    if (required.selectedBy[0]) {
      text += " (`" + WideToUtf8(required.selectedBy[0]) + "`";
      if (required.selectedBy[1]) text += ", `" + WideToUtf8(required.selectedBy[1]) + "`";
      text += ")";
    }
  }
  if (facts.legacySupport) text += "; without the options the legacy route";
  return text;
}

std::string WaitText(const CommandFacts& facts) {
  if (!AsksAgent(facts)) return "none";
  std::string text = "reply " + Duration(facts.replyTimeout);
  if (facts.contract.traits & kWaitArgument) text += ", or the wait given";
  if (facts.productWait.count() > 0) text += ", event " + Duration(facts.productWait);
  return text;
}

const char* RuleName(ArgumentRule rule) {
  switch (rule) {
    case ArgumentRule::kExactly:
      return "exactly";
    case ArgumentRule::kAtLeast:
      return "atLeast";
    case ArgumentRule::kAny:
      return "any";
    case ArgumentRule::kHandlerParses:
      return "ownRule";
  }
  return "";
}

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void WriteCodes(Writer& out, const char* name, const ExitCodeList& list) {
  out.Key(name);
  out.StartArray();
  for (size_t i = 0; i < list.count; ++i) {
    const std::string code = list.codes[i].code;
    out.StartObject();
    out.Key("code");
    if (std::isdigit(static_cast<unsigned char>(code[0]))) {
      out.Uint64(std::stoull(code));
    } else {
      out.String(code.c_str());
    }
    out.Key("meaning");
    out.String(list.codes[i].meaning);
    out.EndObject();
  }
  out.EndArray();
}

void WriteCommand(Writer& out, const CommandFacts& facts) {
  const CommandContract& contract = facts.contract;
  out.StartObject();
  out.Key("word");
  out.String(WideToUtf8(facts.word).c_str());
  out.Key("arguments");
  out.StartObject();
  out.Key("rule");
  out.String(RuleName(facts.argumentRule));
  // Counts here are of the arguments after the command word.
  if (facts.argumentRule == ArgumentRule::kExactly ||
      facts.argumentRule == ArgumentRule::kAtLeast) {
    out.Key("count");
    out.Int(facts.argumentCount - 2);
  }
  out.Key("form");
  out.String(contract.arguments);
  out.EndObject();
  out.Key("answer");
  out.StartObject();
  out.Key("form");
  out.String(contract.answer);
  out.Key("printedOnEveryPath");
  out.Bool(facts.printsAlways);
  out.EndObject();
  WriteCodes(out, "exitCodes", contract.exitCodes);
  out.Key("agentQueryExitCodes");
  out.Bool((contract.traits & kAgentQueryCodes) != 0);
  out.Key("guarded");
  if (!IsGuarded(facts)) {
    out.Bool(false);
  } else {
    out.StartObject();
    out.Key("permissions");
    out.StartArray();
    for (const RequiredPermission& required : facts.permissions) {
      if (!required.permission) break;
      out.StartObject();
      out.Key("number");
      out.Uint(required.permission->number);
      out.Key("selectedBy");
      out.StartArray();
      for (const wchar_t* word : required.selectedBy) {
        if (word) out.String(WideToUtf8(word).c_str());
      }
      out.EndArray();
      out.EndObject();
    }
    out.EndArray();
    out.Key("legacyRouteWithoutOptions");
    out.Bool(facts.legacySupport);
    out.EndObject();
  }
  out.Key("waits");
  if (!AsksAgent(facts)) {
    out.Null();
  } else {
    out.StartObject();
    out.Key("replySeconds");
    out.Int64(facts.replyTimeout.count());
    out.Key("eventSeconds");
    out.Int64(facts.productWait.count());
    out.Key("waitArgument");
    out.Bool((contract.traits & kWaitArgument) != 0);
    out.EndObject();
  }
  out.EndObject();
}

void AppendCodeTable(std::string& text, const ExitCodeList& list) {
  text += "| Exit code | Meaning |\n|---|---|\n";
  for (size_t i = 0; i < list.count; ++i) {
    text += "| " + std::string(list.codes[i].code) + " | " + Cell(list.codes[i].meaning) + " |\n";
  }
}

}  // namespace

std::string ContractJson(const std::string& version) {
  rapidjson::StringBuffer buffer;
  Writer out(buffer);
  out.SetIndent(' ', 2);
  out.StartObject();
  out.Key("tool");
  out.String("tarn-rmm.exe");
  out.Key("version");
  out.String(version.c_str());
  out.Key("invocation");
  out.String(
      "tarn-rmm.exe <command> [arguments]: the command word in any letter case; the answer on "
      "standard output without a line end; the exit code is the result code");
  WriteCodes(out, "commonExitCodes", kCommonExitCodes);
  WriteCodes(out, "agentQueryExitCodes", kAgentQueryExitCodes);
  WriteCodes(out, "authorizationExitCodes", kAuthorizationExitCodes);
  out.Key("authorizationOptions");
  out.StartArray();
  for (const char* option : {"-authToken", "-certificate", "-certificatePath", "-executionTime"}) {
    out.String(option);
  }
  out.EndArray();
  out.Key("commands");
  out.StartArray();
  for (const CommandFacts& facts : kCommandFacts) WriteCommand(out, facts);
  out.EndArray();
  out.EndObject();
  return std::string(buffer.GetString()) + "\n";
}

std::string ReferenceTableHeader() {
  return "| Command | Arguments | Answer | Exit codes | Guarded | Waits |\n"
         "|---|---|---|---|---|---|\n";
}

std::string ReferenceRow(const CommandFacts& facts) {
  std::string codes = CodeNumbers(facts.contract.exitCodes);
  if (facts.contract.traits & kAgentQueryCodes) codes += "; a failed agent query's codes";
  return "| `" + WideToUtf8(facts.word) + "` | " + Cell(facts.contract.arguments) + " | " +
         Cell(facts.contract.answer) + " | " + codes + " | " + GuardText(facts) + " | " +
         WaitText(facts) + " |";
}

std::string ExitCodeReference(const std::string& version) {
  std::string text = "# tarn-rmm.exe " + version + ": exit codes\n\n";
  text += "The exit code is the result code, all 32 bits. Codes every command can give:\n\n";
  AppendCodeTable(text, kCommonExitCodes);
  text += "\nA failed agent query (the commands marked so below):\n\n";
  AppendCodeTable(text, kAgentQueryExitCodes);
  text += "\nThe authorization gate (guarded commands, with the authorization options):\n\n";
  AppendCodeTable(text, kAuthorizationExitCodes);
  for (const CommandFacts& facts : kCommandFacts) {
    text += "\n## `" + WideToUtf8(facts.word) + "`\n\n";
    AppendCodeTable(text, facts.contract.exitCodes);
    if (facts.contract.traits & kAgentQueryCodes) {
      text += "\nand the codes of a failed agent query.\n";
    }
  }
  return text;
}

}  // namespace tarn
