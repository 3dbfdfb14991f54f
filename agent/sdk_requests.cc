#include "agent/sdk_requests.h"

#include <cstdio>

#include "base/build_config.h"
#include "base/command_facts.h"
#include "base/text.h"

namespace tarn {
namespace {

std::string ScanRequest(const char* taskId) {
  return std::string(
             "{\"type\":\"none\",\"data\":{\"FileScan.OnDemand\":[{\"@name\":\"RunScanTask\","
             "\"input\":{\"runCustomTask\":false,\"storedScanTask\":{\"userSid\":\"\","
             "\"taskId\":\"") +
         taskId + "\"},\"customScanTask\":{}}}]}}";
}

}  // namespace

const std::map<std::wstring, std::string>& SdkRequestTemplates() {
  static const std::map<std::wstring, std::string> templates = {
      {L"Product.GetStatus",
       R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})"},
      {L"Product.Installer.InstallerRemove",
       std::string(R"({"type":"oxsdk","data":{"Product.Installer":[{"@name":"InstallerRemove",)"
                   R"("input":{"uninstall_link":"http://)") +
           TARN_UNINSTALL_HOST +
           R"(:8080/quellon/uninstall/11/00000000-0000-0000-0000-0019B91931E3",)"
           R"("keepQuarantine":true,"rebootIfNeeded":true}}]}})"},
      {L"Update.StartUpdate",
       R"({"type":"oxsdk","data":{"Update":[{"@name":"StartUpdate","input":{}}]}})"},
      {L"Update.GetUpdateSettings",
       R"({"type": "oxsdk","data": {"Update": [{"@name": "GetUpdateSettings","input": {"user": ""}}]}})"},
      {L"ar.Product.Configuration.GetKivoroIdentity",
       R"({"type":"oxsdk","data" : {"ar.Product.Configuration": [{"@name":"GetKivoroIdentity","input":{}}]}})"},
      {L"FileScan.OnDemand.RunFullScan", ScanRequest("dcf483c4-26d0-4e6f-ba28-6a53a00adae1")},
      {L"FileScan.OnDemand.RunQuickScan", ScanRequest("da29f7c8-23b1-4974-8d11-209959ac694b")},
  };
  return templates;
}

std::wstring MethodNamespace(const std::wstring& methodKey) {
  const size_t dot = methodKey.rfind(L'.');
  return dot == std::wstring::npos ? methodKey : methodKey.substr(0, dot);
}

std::string FormatRequestId(uint32_t data1, uint16_t data2, uint16_t data3,
                            const uint8_t (&data4)[8]) {
  char text[40];
  std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned>(data1), static_cast<unsigned>(data2),
                static_cast<unsigned>(data3), data4[0], data4[1], data4[2], data4[3], data4[4],
                data4[5], data4[6], data4[7]);
  return text;
}

std::chrono::seconds ReplyTimeoutFor(const std::wstring& commandName) {
  const CommandFacts* facts = FindCommandFacts(commandName);
  return facts != nullptr ? facts->replyTimeout : kDefaultReplyTimeout;
}

}  // namespace tarn
