#include "ops/installation_links.h"

#include <gtest/gtest.h>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

// A good line yields the three values and logs nothing; a bad one gives 160 and the lines that
// say why.
TEST(InstallationLinkOptionsTest, OptionsReadInAnyOrderAndCaseOrSayWhatIsMissing) {
  const char* count = "Bad arguments. More or ignsufficient arguments provided";
  const struct {
    std::vector<std::wstring> options;
    InstallationLinkOptions expected;
    std::vector<std::string> log;
  } cases[] = {
      {{L"-PACKAGENAME", L"p2", L"-kvurl", L"u2", L"-ApiKey", L"k2"}, {"u2", "k2", "p2"}, {}},
      {{L"-kvUrl", L"https://kv.example/\u00e9", L"-apiKey", L"\u2713", L"-packageName",
        L"B\u00fcro Z\u00fcrich"},
       {"https://kv.example/\xc3\xa9", "\xe2\x9c\x93", "B\xc3\xbcro Z\xc3\xbcrich"},
       {}},
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-packageName"}, {}, {count}},
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-packageName", L"p", L"extra"}, {}, {count}},
      {{L"-url", L"u", L"-apiKey", L"k", L"-packageName", L"p"},
       {},
       {"Bad arguments provided.", "\"-kvUrl\" is missing", "\"-apiKey\" is missing",
        "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-package", L"p"},
       {},
       {"Bad arguments provided.", "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"u", L"-KVURL", L"v", L"-apiKey", L"k"},
       {},
       {"Bad arguments provided.", "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"", L"-apiKey", L"k", L"-packageName", L"p"},
       {},
       {"Bad arguments provided.", "\"-kvUrl\" is missing"}},
  };
  for (const auto& c : cases) {
    std::vector<std::wstring> arguments = {L"tarn-rmm.exe", L"-getinstallationlink"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    uint32_t code = 0;
    InstallationLinkOptions options;
    const auto log = LogOf([&](Logger* l) {
      code = ParseInstallationLinkOptions(arguments, static_cast<int32_t>(arguments.size()),
                                          options, l);
    });
    EXPECT_EQ(code, c.log.empty() ? 0u : 160u) << testing::PrintToString(c.log);
    EXPECT_EQ(log, c.log);
    if (c.log.empty()) {
      EXPECT_EQ(options.kvUrl, c.expected.kvUrl);
      EXPECT_EQ(options.apiKey, c.expected.apiKey);
      EXPECT_EQ(options.packageName, c.expected.packageName);
    }
  }
}

}  // namespace
}  // namespace tarn
