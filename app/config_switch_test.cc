#include "app/config_switch.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tarn
