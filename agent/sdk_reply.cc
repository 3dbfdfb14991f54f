#include "agent/sdk_reply.h"

#include "agent/sdk_requests.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {

uint32_t ParseSdkReply(const std::string& reply, const std::wstring& methodKey,
                       rapidjson::Document& output, int64_t& endpointSdkError, Logger* log) {
  auto malformed = [&](const wchar_t* message, uint32_t result) {
    WriteLog(log, message);
    endpointSdkError = kErrorMalformed;
    return result;
  };
  try {
    if (reply.empty()) return malformed(L"Failed to receive OXSDK response. JSON is empty", 0);

    WriteLog(log, L"Parse OXSDK response");
    // Parsed into the output's own memory, so that "output" is moved into it below instead of
    // copied (a copy descends per level); iterative, so the agent's nesting costs no stack.
    rapidjson::Document document(&output.GetAllocator());
    document.Parse<rapidjson::kParseIterativeFlag>(reply.c_str(), reply.size());
    if (document.HasParseError() || !document.IsObject()) {
      return malformed(L"Invalid JSON. Response has parse errors or is not an object", 0);
    }
    WriteLog(log, L"Parse \"response\" member");
    const auto response = document.FindMember("response");
    if (response == document.MemberEnd() || !response->value.IsObject()) {
      return malformed(L"Invalid JSON. Response does not have \"response\" member", 0);
    }
    WriteLog(log, L"Parse \"data\" member");
    const auto data = response->value.FindMember("data");
    if (data == response->value.MemberEnd() || !data->value.IsObject()) {
      return malformed(L"Invalid JSON. Response does not have \"data\" member", 0);
    }
    WriteLog(log, L"Find method key");
    const std::string key = WideToUtf8(MethodNamespace(methodKey));
    const auto method = data->value.FindMember(rapidjson::StringRef(key.data(), key.size()));
    if (method == data->value.MemberEnd() || !method->value.IsArray()) {
      const std::wstring line = L"Invalid JSON. Response does not have \"" + methodKey + L"\" key";
      return malformed(line.c_str(), 0);
    }

    WriteLog(log, L"Parse \"error\" member");
    rapidjson::Value& methods = method->value;
    // An empty list or a non-object element carries no usable "error" either.
    const bool haveElement = !methods.Empty() && methods[0].IsObject();
    const auto error =
        haveElement ? methods[0].FindMember("error") : rapidjson::Value::MemberIterator();
    if (!haveElement || error == methods[0].MemberEnd() || !error->value.IsInt64()) {
      return malformed(L"Invalid JSON. Error is not found or its value is invalid",
                       kErrorNoUsableReply);
    }
    endpointSdkError = error->value.GetInt64();
    WriteLog(log, L"Response error code : " + std::to_wstring(endpointSdkError));

    WriteLog(log, L"Parse \"output\" member");
    const auto out = methods[0].FindMember("output");
    if (out == methods[0].MemberEnd()) {
      return malformed(L"Invalid JSON. Response does not have \"output\" member",
                       kErrorNoUsableReply);
    }
    if (!out->value.IsObject()) {
      return malformed(L"Invalid JSON. \"output\" member is invalid", kErrorNoUsableReply);
    }
    static_cast<rapidjson::Value&>(output) = out->value;  // moves; "output" is left null
    return 0;
  } catch (...) {
    return malformed(L"Invalid JSON. Something happened while parsing the response",
                     kErrorNoUsableReply);
  }
}

}  // namespace tarn
