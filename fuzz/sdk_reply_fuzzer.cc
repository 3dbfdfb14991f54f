// The agent's reply envelope on arbitrary input.
#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/sdk_reply.h"
#include "fuzz/fuzz_json.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  const std::string reply(reinterpret_cast<const char*>(data), size);
  rapidjson::Document output;  // stays null unless an "output" is taken
  int64_t endpointSdkError = 0;
  const uint32_t code =
      ParseSdkReply(reply, L"Product.GetStatus", output, endpointSdkError, nullptr);
  Require(code == 0 || (code == 1804 && endpointSdkError == 3));
  Require(output.IsNull() || (code == 0 && output.IsObject()));
  return 0;
}
