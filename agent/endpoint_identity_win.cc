// The Windows side of the endpoint identity: the agent's answer through the SDK wrapper, and
// the configuration file read from disk.
#include <windows.h>

#include <array>

#include "agent/endpoint_identity.h"
#include "agent/file_probes.h"
#include "agent/sdk_session.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

constexpr size_t kMarkBytes = 5;  // the longest mark, "+/v8-"

// Opened as the agent's own readers open it: read access, others may read too.
UniqueFileHandle OpenForReading(const std::wstring& path) {
  return UniqueFileHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

uint32_t GetFileEncoding(const std::wstring& path, uint32_t& encoding) {
  // The 5-byte buffer lives on the stack, so the out-of-memory outcome cannot arise here.
  const UniqueFileHandle file = OpenForReading(path);
  if (!file) return LastErrorOr(ERROR_GEN_FAILURE);
  std::array<char, kMarkBytes> head;
  DWORD read = 0;
  if (!ReadFile(file.get(), head.data(), kMarkBytes, &read, nullptr)) {
    return LastErrorOr(ERROR_GEN_FAILURE);
  }
  encoding = ClassifyEncoding(std::string_view(head.data(), read));
  return 0;
}

uint32_t ReadAgentConfigFile(const std::wstring& path, std::string* hardwareId,
                             std::string* groupId, std::string* companyId, Logger* log) {
  WriteLog(log, L"Read Oxag configuration file");
  WriteLog(log, L"Get file encoding");
  uint32_t encoding = kEncodingNoMark;
  if (const uint32_t code = GetFileEncoding(path, encoding); code != 0) {
    WriteLog(log, L"Cannot get file encoding. Failed with error: " + std::to_wstring(code) +
                      L". Possible cause: legacy file not found");
    return code;
  }
  if (encoding == kEncodingUtf32BigEndian || encoding == kEncodingUtf32LittleEndian) {
    return kErrorUnsupportedEncoding;
  }

  WriteLog(log, L"Open configuration file");
  std::string bytes;
  if (const uint32_t code = ReadWholeFile(path, bytes); code != 0) {
    WriteLog(log, L"Cannot open configuration file");
    return code;
  }
  WriteLog(log, L"Configuration file opened successfully");
  // The file was read whole and is already closed; the walk works on the text.
  std::string text;
  if (const uint32_t code = DecodeConfigText(bytes, encoding, text); code != 0) return code;
  if (const uint32_t code = ReadConfigText(text, hardwareId, groupId, companyId, log); code != 0) {
    return code;
  }
  WriteLog(log, L"Configuration file closed");
  WriteLog(log, L"Finished reading from Oxag configuration file");
  return 0;
}

uint32_t GetKivoroIdentity(std::string& companyId, std::string& hardwareId, Logger* log) {
  WriteLog(log, L"Getting KV Identity using the wrapper method");
  rapidjson::Document output;
  const uint32_t code =
      RunSdkMethod(output, L"ar.Product.Configuration.GetKivoroIdentity", L"", L"", log);
  if (code != 0) {
    WriteLog(log, L"Failed to retrieve KV Identity with wrapper method: " + std::to_wstring(code));
    return code;
  }
  WriteLog(log, L"KV Identity retrieved successfully");
  ReadKivoroIdentity(output, companyId, hardwareId, log);
  WriteLog(log, L"Finished retrieving KV Identity with error code: " + std::to_wstring(code));
  return code;
}

uint32_t GetEndpointInformation(std::string* hardwareId, std::string* groupId,
                                std::string* companyId, const std::wstring& configPath,
                                bool askAgentFirst, Logger* log) {
  WriteLog(log, L"Clearing non nullable values");
  for (std::string* output : {hardwareId, groupId, companyId}) {
    if (output != nullptr) output->clear();
  }

  uint32_t result = kResultAgentNotAsked;
  bool agentAnswered = false;
  if (askAgentFirst) {
    WriteLog(log, L"Get KV Identity");
    std::string unwantedCompany;
    std::string unwantedHardware;
    result = GetKivoroIdentity(companyId != nullptr ? *companyId : unwantedCompany,
                               hardwareId != nullptr ? *hardwareId : unwantedHardware, log);
    agentAnswered = result == 0;
  }
  if (agentAnswered) {
    WriteLog(log, L"KV Identity retrieved successfully. Retrieving groupId");
  } else {
    WriteLog(log, L"KV identity cannot be retrieved. Using legacy checks");
  }

  // The file is the fallback: what it cannot supply stays empty, and its code is not reported.
  static_cast<void>(ReadAgentConfigFile(configPath, agentAnswered ? nullptr : hardwareId, groupId,
                                        agentAnswered ? nullptr : companyId, log));
  WriteLog(log, L"Finished getting endpoint information");
  return result;
}

}  // namespace tarn
