#include "auth/certificate_file.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarn {
namespace {

using namespace std::string_literals;

// As Windows PowerShell 5 writes text: a byte-order mark, then UTF-16 LE.
std::string Utf16Le(const std::string& ascii) {
  std::string bytes = "\xff\xfe";
  for (const char c : ascii) bytes += {c, '\0'};
  return bytes;
}

TEST(UnwrapCertificateTextTest, OnlyTheUtf16AndPemFormsAreUnwrapped) {
  const std::string pem =
      "-----BEGIN CERTIFICATE-----\r\nMIIB\r\nAAAA\r\n-----END CERTIFICATE-----\r\n";
  const std::wstring body = L"\r\nMIIB\r\nAAAA\r\n";
  struct Case {
    const char* name;
    std::string file;
    std::optional<std::wstring> text;
  } cases[] = {
      {"plain base64 stands as read", "MIIBAAAA\n", std::nullopt},
      {"UTF-16 LE with a mark", Utf16Le("MIIBAAAA\r\n"), L"MIIBAAAA\r\n"},
      {"UTF-16 LE, odd length", Utf16Le("MIIB") + "A", std::nullopt},
      {"UTF-16 LE, a pair and lone surrogates",
       "\xff\xfe\x3d\xd8\x00\xde\x00\xd8"
       "A\0"s,
       std::wstring(L"\U0001F600\uFFFDA")},
      {"PEM", pem, body},
      {"PEM with text around it", "subject=CN=x\n" + pem + "trailer\n", body},
      {"PEM in UTF-16 LE", Utf16Le(pem), body},
      {"PEM without its END line", pem.substr(0, pem.find("-----END")), std::nullopt},
      {"END line before BEGIN", "-----END CERTIFICATE-----\n" + pem.substr(0, 35), std::nullopt},
      {"two certificates", pem + pem, std::nullopt},
      {"another PEM label", "-----BEGIN PUBLIC KEY-----\nMIIB\n-----END PUBLIC KEY-----\n",
       std::nullopt},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(UnwrapCertificateText(c.file), c.text) << c.name;
  }
}

}  // namespace
}  // namespace tarn
