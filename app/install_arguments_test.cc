#include "app/install_arguments.h"

#include <gtest/gtest.h>

#include "base/result_codes.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

TEST(InstallArgumentsTest, ChecksInTheirOrder) {
  const struct {
    std::vector<std::wstring> args;  // after the command word
    uint32_t code;
    const char* lastLine;  // null: nothing logged
    bool resume = false, core = false;
  } cases[] = {
      {{L"C:\\Installer.exe"}, 0, nullptr},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\i.xml"}, 0, "Check additional parameters"},
      {{L"C:\\Installer.exe", L"-INSTALLERXML", L"C:\\i.xml", L"-coreinstall",
        L"-ResumeAfterReboot"},
       0,
       "Check additional parameters",
       true,
       true},
      {{}, kErrorBadArguments, "bad"},
      {{L"C:\\Installer.exe", L"-installerXml"}, kErrorBadArguments, "bad"},
      {{L"C:\\Installer.exe", L"-xml", L"C:\\i.xml"}, kErrorBadArguments, "bad"},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\i.xml", L"-coreInstall", L"-coreInstall",
        L"-coreInstall"},
       kErrorBadArguments,
       "bad"},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\absent.xml", L"-unknown"},
       kErrorFileNotFound,
       "Installer not found. Error code: 2"},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\i.xml", L"-resume"},
       kErrorBadArguments,
       "Bad additional argument."},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\i.xml", L"-coreInstall", L"-COREINSTALL"},
       kErrorBadArguments,
       "Additional argument \"-coreInstall\" specified multiple times."},
      {{L"C:\\Installer.exe", L"-installerXml", L"C:\\i.xml", L"-resumeAfterReboot",
        L"-resumeafterreboot"},
       kErrorBadArguments,
       "Additional argument \"-resumeAfterReboot\" specified multiple times."},
  };
  const FileCheck fileExists = [](const std::wstring& path, Logger*) {
    return path == L"C:\\i.xml" ? 0u : kErrorFileNotFound;
  };
  for (const auto& c : cases) {
    std::vector<std::wstring> list{L"tarn-rmm.exe", L"-runinstaller"};
    list.insert(list.end(), c.args.begin(), c.args.end());
    InstallRequest request;
    const auto log = LogOf([&](Logger* log) {
      EXPECT_EQ(CheckInstallArguments(list, static_cast<int32_t>(list.size()), L"bad", fileExists,
                                      request, log),
                c.code)
          << list.size();
    });
    EXPECT_EQ(log.empty() ? "" : log.back(), c.lastLine ? c.lastLine : "") << list.size();
    if (c.code != 0) continue;
    EXPECT_EQ(request.programPath, L"C:\\Installer.exe");
    EXPECT_EQ(request.xmlPath, list.size() > 3 ? L"C:\\i.xml" : L"");
    EXPECT_EQ(request.resumeAfterReboot, c.resume);
    EXPECT_EQ(request.coreInstall, c.core);
  }
}

}  // namespace
}  // namespace tarn
