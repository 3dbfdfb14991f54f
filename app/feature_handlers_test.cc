// The feature editing handler's own authorization check. End to end it cannot be reached (a
// granted authorization sets both flags), so it is tested here.
#include <gtest/gtest.h>

#include "app/command_table.h"
#include "base/process_state.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

TEST(EditFeaturesHandlerTest, RefusesWithoutBothAuthorizationFlags) {
  const struct {
    int32_t count;
    bool authorized, serviceUsed;
    uint32_t result;
    const char* lastLine;
  } cases[] = {
      {4, true, false, 5, "Operation is not authorized. Access Denied"},
      {4, false, true, 5, "Operation is not authorized. Access Denied"},
      {3, true, true, 160, "Bad arguments."},
      // Both flags: the arguments are logged and walked; this walk fails before the agent.
      {4, true, true, 160, "Feature \"firewall\" doesn't exists or has already been added"},
  };
  for (const auto& c : cases) {
    ArgumentList = {L"C:\\tools\\tarn-rmm.exe", L"-EditFeatures", L"-add", L"firewall"};
    ArgumentCount = c.count;
    Authorized = c.authorized;
    AuthorizationServiceUsed = c.serviceUsed;
    ResultText.clear();
    LogCapture capture("tarn-edit-features-handler");
    LogHandle = capture.get();
    EXPECT_EQ(RunCommand(*CommandTable.at(L"-editfeatures")), c.result) << c.lastLine;
    LogHandle = nullptr;
    const auto log = capture.Take();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front(), "Modify TARN Features");
    EXPECT_EQ(log.back(), c.lastLine);
    if (c.result == 160 && c.count == 4) {
      EXPECT_EQ(std::vector<std::string>(log.begin() + 1, log.begin() + 5),
                (std::vector<std::string>{
                    "Argc number is: 4", "Parameter 1 value is: -EditFeatures",
                    "Parameter 2 value is: -add", "Parameter 3 value is: firewall"}));
    }
  }
  ArgumentList.clear();
  ArgumentCount = 0;
  Authorized = AuthorizationServiceUsed = false;
}

}  // namespace
}  // namespace tarn
