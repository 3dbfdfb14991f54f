#include "agent/sdk_reply.h"

#include <gtest/gtest.h>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

TEST(SdkReplyTest, ErrorAndOutputOfElementZero) {
  struct Case {
    const char* reply;
    const wchar_t* method;
    uint32_t result;
    int64_t endpointSdkError;
    const char* outputMember;    // present in the copied output, or null
    const char* line = nullptr;  // the failure's own log line, pinned once per line
  } cases[] = {
      {R"({"response":{"data":{"Product":[{"error":0,"output":{}}]}}})", L"Product.GetStatus", 0, 0,
       nullptr},
      {R"({"response":{"data":{"Product":[{"error":5,"output":{"x":1}},{"error":0}]}}})",
       L"Product.GetStatus", 0, 5, "x"},
      {R"({"response":{"data":{"Product.Installer":[{"error":-2,"output":{"y":2}}]}}})",
       L"Product.Installer.InstallerRemove", 0, -2, "y"},
      {R"({"response":{"data":{"Kivoro":[{"error":0,"output":{"z":3}}]}}})", L"Kivoro", 0, 0,
       "z"},  // a key without a dot is its own namespace
      // Malformed envelopes: the agent's error becomes 3, the session result stays 0.
      {"", L"Product.GetStatus", 0, 3, nullptr, "Failed to receive OXSDK response. JSON is empty"},
      {"{", L"Product.GetStatus", 0, 3, nullptr,
       "Invalid JSON. Response has parse errors or is not an object"},
      {"[1]", L"Product.GetStatus", 0, 3, nullptr},
      {R"({"data":{}})", L"Product.GetStatus", 0, 3, nullptr,
       "Invalid JSON. Response does not have \"response\" member"},
      {R"({"response":{"data":[]}})", L"Product.GetStatus", 0, 3, nullptr,
       "Invalid JSON. Response does not have \"data\" member"},
      {R"({"response":{"data":{"Product":{}}}})", L"Product.GetStatus", 0, 3, nullptr,
       "Invalid JSON. Response does not have \"Product.GetStatus\" key"},
      {R"({"response":{"data":{"Update":[]}}})", L"Product.GetStatus", 0, 3, nullptr},
      // Unusable "error" or "output": 1804 and 3.
      {R"({"response":{"data":{"Product":[{"error":"0","output":{}}]}}})", L"Product.GetStatus",
       1804, 3, nullptr, "Invalid JSON. Error is not found or its value is invalid"},
      {R"({"response":{"data":{"Product":[{"error":1.5,"output":{}}]}}})", L"Product.GetStatus",
       1804, 3, nullptr},
      {R"({"response":{"data":{"Product":[{"error":0}]}}})", L"Product.GetStatus", 1804, 3, nullptr,
       "Invalid JSON. Response does not have \"output\" member"},
      {R"({"response":{"data":{"Product":[{"error":0,"output":[]}]}}})", L"Product.GetStatus", 1804,
       3, nullptr, "Invalid JSON. \"output\" member is invalid"},
      {R"({"response":{"data":{"Product":[]}}})", L"Product.GetStatus", 1804, 3, nullptr},
      {R"({"response":{"data":{"Product":[7]}}})", L"Product.GetStatus", 1804, 3, nullptr},
  };
  for (const auto& c : cases) {
    rapidjson::Document output;
    int64_t endpointSdkError = 0;
    LogCapture log("tarn-sdk-reply-test");
    EXPECT_EQ(ParseSdkReply(c.reply, c.method, output, endpointSdkError, log.get()), c.result)
        << c.reply;
    if (c.line != nullptr) {
      EXPECT_EQ(log.Take().back(), c.line) << c.reply;
    }
    EXPECT_EQ(endpointSdkError, c.endpointSdkError) << c.reply;
    if (c.outputMember != nullptr) {
      ASSERT_TRUE(output.IsObject()) << c.reply;
      EXPECT_TRUE(output.HasMember(c.outputMember)) << c.reply;
    }
  }
}

}  // namespace
}  // namespace tarn
