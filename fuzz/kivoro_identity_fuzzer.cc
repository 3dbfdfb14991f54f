// The agent's Kivoro identity reply on arbitrary input: the envelope, then the two ids.
#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/endpoint_identity.h"
#include "agent/sdk_reply.h"
#include "base/json.h"
#include "fuzz/fuzz_json.h"

namespace tarn {
namespace {

// An id is its member's whole string, NULs included (a cut id could match another endpoint), or
// what it was before.
void RequireTaken(const std::string& id, const rapidjson::Value& output, const char* name) {
  const rapidjson::Value* member = Member(output, name);
  Require(member != nullptr && member->IsString()
              ? id == std::string(member->GetString(), member->GetStringLength())
              : id == "unset");
}

}  // namespace
}  // namespace tarn

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  const std::string reply(reinterpret_cast<const char*>(data), size);
  rapidjson::Document output;
  int64_t endpointSdkError = 0;
  if (ParseSdkReply(reply, L"ar.Product.Configuration.GetKivoroIdentity", output, endpointSdkError,
                    nullptr) != 0 ||
      !output.IsObject()) {
    return 0;
  }
  std::string companyId = "unset";
  std::string hardwareId = "unset";
  ReadKivoroIdentity(output, companyId, hardwareId, nullptr);
  RequireTaken(hardwareId, output, "endpointID");
  RequireTaken(companyId, output, "companyID");
  return 0;
}
