// The command front end end to end: argument count, dispatch, logging switch, log file, answers.
#include <gtest/gtest.h>

#include "base/build_config.h"
#include "base/test_log_capture.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using Messages = std::vector<std::string>;

const Messages kGateLines = {"Validate authorization", "See if command must be authorized",
                             "Begin command search", "Command does not need authorization"};

Messages Concat(Messages a, const Messages& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

TEST(FrontEndTest, ArgumentCountOutside2To30Gives160WithoutOutputOrLog) {
  Sandbox box;
  box.EnableLogging();
  const std::vector<std::wstring> tooMany(30, L"-checkis64bitos");  // 31 with the program
  for (const auto& args : {std::vector<std::wstring>{}, tooMany}) {
    const ToolRun run = box.Run(args);
    EXPECT_EQ(run.exitCode, 160u) << args.size();
    EXPECT_EQ(run.out, "");
  }
  EXPECT_FALSE(box.Exists("log.txt"));

  const ToolRun thirty = box.Run(std::vector<std::wstring>(29, L"-checkis64bitos"));
  EXPECT_EQ(thirty.exitCode, 0u);
  EXPECT_EQ(thirty.out, "1");
}

TEST(FrontEndTest, CommandWordsIgnoreLetterCase) {
  Sandbox box;
  for (const wchar_t* word : {L"-checkis64bitos", L"-CHECKIS64BITOS", L"-CheckIs64BitOS"}) {
    const ToolRun run = box.Run({word});
    EXPECT_EQ(run.exitCode, 0u) << word;
    EXPECT_EQ(run.out, "1") << word;
  }
}

// A near miss of a command word (no hyphen, one letter more, nothing) is an unknown word.
TEST(FrontEndTest, UnknownWordPassesTheGateThenGives160) {
  for (const wchar_t* word : {L"-foo", L"checkis64bitos", L"-getinstallationlinks", L""}) {
    Sandbox box;
    box.EnableLogging();
    const ToolRun run = box.Run({word});
    EXPECT_EQ(run.exitCode, 160u) << word;
    EXPECT_EQ(run.out, "") << word;
    EXPECT_EQ(box.LogMessages(), Concat(kGateLines, {"Invalid arguments"}));
  }
}

TEST(FrontEndTest, OnlyTheExactConfigurationLineSwitchesLoggingOn) {
  struct Case {
    const char* config;
    bool on;
  } cases[] = {
      {"Logging = true\r\n", false},  // the line rule itself is the unit test's
      {"", false},
      {"Verbose=1\r\nLogging=true\r\nOther=2\r\n", true},
      {"# comment\nLogging=true", true},  // Unix line ends, no final line end
  };
  for (const auto& c : cases) {
    Sandbox box;
    box.WriteFile("configfile.txt", c.config);
    const ToolRun run = box.Run({L"-checkis64bitos"});
    EXPECT_EQ(run.out, "1");
    EXPECT_EQ(box.Exists("log.txt"), c.on) << c.config;
  }
}

TEST(FrontEndTest, ProgramPathWithoutBackslashUsesTheCurrentDirectory) {
  Sandbox box;
  Sandbox elsewhere;  // the current directory, with its own configuration
  elsewhere.EnableLogging();
  const ToolRun run = box.Run({L"-checkis64bitos"}, L"tarn-rmm.exe", elsewhere.dir());
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, "1");
  EXPECT_TRUE(elsewhere.Exists("log.txt"));
  EXPECT_FALSE(box.Exists("log.txt"));
}

TEST(FrontEndTest, UnopenableLogFileDoesNotStopTheCommand) {
  Sandbox box;
  box.EnableLogging();
  std::filesystem::create_directory(box.dir() / "log.txt");
  const ToolRun run = box.Run({L"-getversion"});
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, TARN_VERSION_TEXT);
}

TEST(FrontEndTest, GetVersionAnswersTheProductVersionOfItsOwnResource) {
  Sandbox box;
  box.EnableLogging();
  ToolRun run = box.Run({L"-getversion"});
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, TARN_VERSION_TEXT);

  // Started by bare name from its own folder, it still finds its own resource.
  run = box.Run({L"-GETVERSION"}, L"tarn-rmm.exe");
  EXPECT_EQ(run.out, TARN_VERSION_TEXT);

  run = box.Run({L"-getversion", L"extra"});
  EXPECT_EQ(run.exitCode, 160u);
  EXPECT_EQ(run.out, "");

  const Messages messages = box.LogMessages();
  EXPECT_TRUE(ContainsInOrder(
      messages,
      {std::string("RMM Tools version retrieved successfully. Version is: ") + TARN_VERSION_TEXT,
       "Finished retrieving RMM Tool version with error code: 0"}));
  EXPECT_EQ(Messages(messages.end() - 2, messages.end()),
            (Messages{"Get RMM tool version", "Bad arguments."}));
}

TEST(FrontEndTest, LegacyCheckAnswersZeroFromWindows7On) {
  Sandbox box;
  box.EnableLogging();
  const ToolRun run = box.Run({L"-checkiflegacyversion", L"any", L"arguments"});
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, "0");
  EXPECT_EQ(box.LogMessages(),
            Concat(kGateLines, {"Check if is legacy version", "Return if Windows is 7 or greater",
                                "Returned value of legacy: 0"}));
}

}  // namespace
}  // namespace tarn::e2e
