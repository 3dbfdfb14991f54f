// The command front end end to end: argument count, dispatch, logging switch, log file, answers.
#include <gtest/gtest.h>

#include "base/build_config.h"
#include "base/test_log_capture.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

TEST(FrontEndTest, ArgumentCountAndCommandWords) {
  const struct {
    std::vector<std::wstring> args;
    ToolRun expected;
    const char* line;  // null: no log at all; else its last message, after the gate passed
  } cases[] = {
      {{}, {160, ""}, nullptr},
      {std::vector<std::wstring>(30, L"-checkis64bitos"), {160, ""}, nullptr},  // 31 with argv[0]
      {std::vector<std::wstring>(29, L"-checkis64bitos"), {0, "1"}, ""},
      // Near misses are CommandFactsTest's (the gate's lookup); the dispatcher maps whole words.
      {{L"-foo"}, {160, ""}, "Invalid arguments"},
      {{L"-checkiflegacyversion", L"any", L"arguments"}, {0, "0"}, "Returned value of legacy: 0"},
  };
  for (const auto& c : cases) {
    const std::wstring name =
        c.args.empty() ? L"" : c.args[0] + L" x" + std::to_wstring(c.args.size());
    Sandbox box;
    EXPECT_EQ(box.Run(c.args), c.expected) << name;
    if (c.line == nullptr) {
      EXPECT_FALSE(box.Exists("log.txt")) << name;
    } else if (*c.line != '\0') {
      const auto log = box.LogMessages();
      EXPECT_TRUE(ContainsInOrder(log, {"Command does not need authorization"})) << name;
      EXPECT_EQ(log.back(), c.line) << name;
    }
  }
}

TEST(FrontEndTest, OnlyTheExactConfigurationLineSwitchesLoggingOn) {
  struct Case {
    const char* config;
    bool on;
  } cases[] = {
      {"Logging = true\r\n", false},  // the line rule itself is the unit test's
      {"Verbose=1\r\nLogging=true\r\nOther=2\r\n", true},
      {"# comment\nLogging=true", true},  // Unix line ends, no final line end
  };
  for (const auto& c : cases) {
    Sandbox box;
    box.WriteFile("configfile.txt", c.config);
    EXPECT_EQ(box.Run({L"-checkis64bitos"}), (ToolRun{0, "1"}));
    EXPECT_EQ(box.Exists("log.txt"), c.on) << c.config;
  }
}

TEST(FrontEndTest, GetVersionAnswersTheProductVersionOfItsOwnResource) {
  Sandbox box;
  EXPECT_EQ(box.Run({L"-getversion", L"extra"}), (ToolRun{160, ""}));
  EXPECT_EQ(box.LogMessages().back(), "Bad arguments.");

  // Started by bare name from another folder, it still finds its own resource; a program path
  // without a backslash takes the configuration of the current directory.
  Sandbox quiet(Sandbox::Logging::kOff), elsewhere;
  EXPECT_EQ(quiet.Run({L"-GETVERSION"}, L"tarn-rmm.exe", elsewhere.dir()),
            (ToolRun{0, TARN_VERSION_TEXT}));
  EXPECT_TRUE(elsewhere.Logged(
      std::string("RMM Tools version retrieved successfully. Version is: ") + TARN_VERSION_TEXT));
  EXPECT_FALSE(quiet.Exists("log.txt"));

  // A log file that cannot be opened does not stop the command.
  std::filesystem::remove(box.dir() / "log.txt");
  std::filesystem::create_directory(box.dir() / "log.txt");
  EXPECT_EQ(box.Run({L"-getversion"}), (ToolRun{0, TARN_VERSION_TEXT}));
}

}  // namespace
}  // namespace tarn::e2e
