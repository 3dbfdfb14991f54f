#include "app/config_switch.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "base/log.h"

namespace tarn {
namespace {

TEST(ConfigSwitchTest, OnlyTheExactLineSwitchesLoggingOn) {
  struct Case {
    const wchar_t* line;
    bool on;
  } cases[] = {
      {L"Logging=true", true},   {L"Logging = true", false}, {L"Logging =true", false},
      {L"Logging= true", false}, {L"logging=true", false},   {L"Logging=True", false},
      {L"Logging=true ", false}, {L" Logging=true", false},  {L"Logging", false},
      {L"=Logging=true", false}, {L"Logging=true=", false},  {L"", false},
      {L"Logging==true", false},
  };
  for (const auto& c : cases) EXPECT_EQ(IsLoggingSwitchLine(c.line), c.on) << c.line;
}

class ConfigFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("tarn-config-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override {
    std::error_code ignored;  // the process's logger keeps its log.txt open
    std::filesystem::remove_all(dir_, ignored);
  }
  std::wstring Write(const std::string& text) {
    const auto path = dir_ / "configfile.txt";
    std::ofstream(path, std::ios::binary) << text;
    return path.wstring();
  }
  std::filesystem::path dir_;
};

TEST_F(ConfigFileTest, SwitchLineAmongOthersIsFoundAndOtherwiseLoggingStaysOff) {
  Logger* handle = nullptr;
  EXPECT_EQ(SwitchLogging(Write("Verbose=1\nlogging=true\nLogging = true\n"), L"", handle), 0u);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(SwitchLogging((dir_ / "absent.txt").wstring(), L"", handle), 0u);
  EXPECT_EQ(handle, nullptr);

  const std::wstring directory = dir_.wstring() + L"/";
  EXPECT_EQ(SwitchLogging(Write("Other=1\nLogging=true\nLogging=true"), directory, handle), 0u);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle, CreateLogger(L"elsewhere/"));  // one logger per process
}

}  // namespace
}  // namespace tarn
