// The agent's configuration file on arbitrary bytes, as the file reader takes it: the encoding
// from its first five bytes, the whole file decoded by that encoding, then all three ids read.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "agent/endpoint_identity.h"
#include "base/text.h"
#include "fuzz/fuzz_json.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const uint32_t encoding = ClassifyEncoding(bytes.substr(0, 5));
  Require(encoding <= kEncodingUtf32LittleEndian);
  std::string text;
  const uint32_t decoded = DecodeConfigText(bytes, encoding, text);
  Require((decoded == 0) !=
          (encoding == kEncodingUtf32BigEndian || encoding == kEncodingUtf32LittleEndian));
  if (decoded != 0) return 0;
  // Whatever the file held, the JSON parser is handed valid UTF-8: a second round trip is a no-op.
  Require(WideToUtf8(Utf8ToWide(text)) == text);
  std::string hardwareId, groupId, companyId;
  const uint32_t read = ReadConfigText(text, &hardwareId, &groupId, &companyId, nullptr);
  Require(read == 0 || (read == 13 && hardwareId.empty() && groupId.empty() && companyId.empty()));
  return 0;
}
