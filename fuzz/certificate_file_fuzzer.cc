// The "-certificatePath" file unwrapper (UTF-16 with a byte-order mark, PEM, or both) on arbitrary
// file bytes.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "auth/certificate_file.h"
#include "fuzz/fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto text = tarn::UnwrapCertificateText(bytes);
  // What is unwrapped is one block's body: it never holds the start of another block.
  tarn::Require(!text || text->find(tarn::kPemBegin) == std::wstring::npos);
  // A UTF-8 file without a BEGIN line is never rewritten: its text stands as it is read.
  const bool utf16 = bytes.substr(0, 2) == "\xff\xfe";
  tarn::Require(!text || utf16 ||
                bytes.find("-----BEGIN CERTIFICATE-----") != std::string_view::npos);
  return 0;
}
