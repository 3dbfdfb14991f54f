#include "ops/installation_links.h"

#include <gtest/gtest.h>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

TEST(InstallationLinkOptionsTest, OptionsReadInAnyOrderAndCase) {
  const struct {
    std::vector<std::wstring> options;
    InstallationLinkOptions expected;
  } cases[] = {
      {{L"-kvUrl", L"https://kv.example", L"-apiKey", L"k1", L"-packageName", L"p1"},
       {"https://kv.example", "k1", "p1"}},
      {{L"-PACKAGENAME", L"p2", L"-kvurl", L"u2", L"-ApiKey", L"k2"}, {"u2", "k2", "p2"}},
      {{L"-kvUrl", L"https://kv.example/\u00e9", L"-apiKey", L"\u2713", L"-packageName",
        L"B\u00fcro Z\u00fcrich"},
       {"https://kv.example/\xc3\xa9", "\xe2\x9c\x93", "B\xc3\xbcro Z\xc3\xbcrich"}},
  };
  for (const auto& c : cases) {
    std::vector<std::wstring> arguments = {L"tarn-rmm.exe", L"-getinstallationlink"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    InstallationLinkOptions options;
    ASSERT_EQ(ParseInstallationLinkOptions(arguments, 8, options, nullptr), 0u);
    EXPECT_EQ(options.kvUrl, c.expected.kvUrl);
    EXPECT_EQ(options.apiKey, c.expected.apiKey);
    EXPECT_EQ(options.packageName, c.expected.packageName);
  }
}

TEST(InstallationLinkOptionsTest, BadOptionsSayWhatIsMissing) {
  const struct {
    std::vector<std::wstring> options;
    std::vector<std::string> log;
  } cases[] = {
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-packageName"},
       {"Bad arguments. More or ignsufficient arguments provided"}},
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-packageName", L"p", L"extra"},
       {"Bad arguments. More or ignsufficient arguments provided"}},
      {{L"-url", L"u", L"-apiKey", L"k", L"-packageName", L"p"},
       {"Bad arguments provided.", "\"-kvUrl\" is missing", "\"-apiKey\" is missing",
        "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"u", L"-apiKey", L"k", L"-package", L"p"},
       {"Bad arguments provided.", "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"u", L"-KVURL", L"v", L"-apiKey", L"k"},
       {"Bad arguments provided.", "\"-packageName\" is empty"}},
      {{L"-kvUrl", L"", L"-apiKey", L"k", L"-packageName", L"p"},
       {"Bad arguments provided.", "\"-kvUrl\" is missing"}},
  };
  for (const auto& c : cases) {
    std::vector<std::wstring> arguments = {L"tarn-rmm.exe", L"-getinstallationlink"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    uint32_t code = 0;
    const auto log = LogOf([&](Logger* l) {
      InstallationLinkOptions options;
      code = ParseInstallationLinkOptions(arguments, static_cast<int32_t>(arguments.size()),
                                          options, l);
    });
    EXPECT_EQ(code, 160u) << c.log.back();
    EXPECT_EQ(log, c.log);
  }
}

}  // namespace
}  // namespace tarn
