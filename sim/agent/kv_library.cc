// kv.dll: the stand-in for the console's library. Its one export answers the installation links
// and a result code chosen by "kv.sim.txt" beside it, and records every call in
// "kv.calls.jsonl" beside it.
//
// kv.sim.txt, "key=value" lines:
//   result=N        the export's return value (default 0)
//   links=TEXT      what the export writes into its output (default: a link made of the
//                   arguments, "<kvUrl>/download/<packageName>?apiKey=<apiKey>&legacy=<0|1>");
//                   written whatever the result, so a caller that prints it after a failure shows
// kv.calls.jsonl, one JSON object per call: {"kvUrl":..,"apiKey":..,"packageName":..,
//   "legacy":N,"output":<the output string's text on entry>}
// A malformed kv.sim.txt makes the export return 13.
//
// The strings cross the module boundary as std::string objects. That works because the library
// and its caller are built by the same compiler with the same static libstdc++ (one string
// layout) and both allocate through the same C runtime DLL (msvcrt), so the caller may free what
// this library allocated into its output, and the other way round.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>

#include "sim/agent/agent_layout.h"
#include "sim/agent/sim_files.h"

namespace {

std::string CallRecord(const std::string& output, const std::string& kvUrl,
                       const std::string& apiKey, const std::string& packageName, int32_t legacy) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  writer.Key("kvUrl");
  writer.String(kvUrl);
  writer.Key("apiKey");
  writer.String(apiKey);
  writer.Key("packageName");
  writer.String(packageName);
  writer.Key("legacy");
  writer.Int(legacy);
  writer.Key("output");
  writer.String(output);
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

uint32_t Answer(std::string& links, const std::string& kvUrl, const std::string& apiKey,
                const std::string& packageName, int32_t legacy) {
  using namespace tarn::sim;
  const std::filesystem::path dir = ModuleDirectory(reinterpret_cast<const void*>(&Answer));
  if (uint32_t code = AppendLine(CallRecordFile(Module::kKv, dir),
                                 CallRecord(links, kvUrl, apiKey, packageName, legacy))) {
    return code;
  }
  std::string text;
  const uint32_t readCode = ReadFileBytes(BehaviorFile(Module::kKv, dir), &text);
  if (readCode != 0 && readCode != 2) return readCode;
  const Settings settings = ParseSettings(text);
  uint32_t result = 0;
  if (!SettingNumber(settings, "result", 0, &result)) return 13;
  const auto found = settings.find("links");
  links = found != settings.end() ? found->second
                                  : kvUrl + "/download/" + packageName + "?apiKey=" + apiKey +
                                        "&legacy=" + std::to_string(legacy);
  return result;
}

}  // namespace

extern "C" __declspec(dllexport) uint32_t
    GetInstallationLinks(std::string& links, const std::string& kvUrl, const std::string& apiKey,
                         const std::string& packageName, int32_t legacy) {
  try {
    return Answer(links, kvUrl, apiKey, packageName, legacy);
  } catch (...) {  // nothing may unwind into the caller's module
    return 8;
  }
}
