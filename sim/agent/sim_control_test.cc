// The control library against the prefix's real service manager, registry and file system.
#include "sim/agent/sim_control.h"

#include <gtest/gtest.h>

#include "agent/process_runner.h"
#include "sim/agent/test_support.h"

namespace tarn::sim {
namespace {

using testing::BuildKit;

uint32_t StateOf(const AgentService& service) {
  uint32_t state = 0;
  const uint32_t code = QueryAgentServiceState(service, &state);
  return code ? code : state;  // the "does not exist" code is far from any state
}

// The value as it is stored, quotes and all, with its type.
std::wstring RawImagePath(DWORD* type) {
  wchar_t value[1024] = {};
  DWORD size = sizeof value;
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, kSecurityServiceKey, L"ImagePath",
                                      RRF_RT_ANY | RRF_NOEXPAND, type, value, &size);
  return status == ERROR_SUCCESS ? value : L"<" + std::to_wstring(status) + L">";
}

class SimControlTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(InstallAgent(BuildKit(), InstallOptions{}), 0u); }
  void TearDown() override { EXPECT_EQ(RemoveAgent(), 0u); }
};

// Running services and the installed files are what every end-to-end test starts from; the
// image path's quotes would not show there (the tool cuts the folder either way).
TEST_F(SimControlTest, InstallQuotesTheImagePathAndRemoveLeavesNothing) {
  DWORD type = 0;
  EXPECT_EQ(RawImagePath(&type), L"\"C:\\Program Files\\Arvantis\\TARN\\oxsecsvc.exe\" -service");
  EXPECT_TRUE(type == REG_SZ || type == REG_EXPAND_SZ) << type;
  ASSERT_EQ(SetRebootMarker(RegistryView::k32Bit), 0u);

  ASSERT_EQ(RemoveAgent(), 0u);
  for (const auto& service : kAgentServices) {
    EXPECT_EQ(StateOf(service), static_cast<uint32_t>(ERROR_SERVICE_DOES_NOT_EXIST));
  }
  EXPECT_EQ(RawImagePath(&type), L"<2>");
  EXPECT_FALSE(std::filesystem::exists(AgentDirectory()));
  bool marker = true;
  ASSERT_EQ(QueryRebootMarker(RegistryView::k32Bit, &marker), 0u);
  EXPECT_FALSE(marker);
}

TEST_F(SimControlTest, ServicesStopAndStartOneByOne) {
  const AgentService& security = *FindAgentService(L"security");
  ASSERT_EQ(StopAgentService(security), 0u);
  EXPECT_EQ(StateOf(security), static_cast<uint32_t>(SERVICE_STOPPED));
  EXPECT_EQ(StateOf(*FindAgentService(L"OXIntegrationService")),
            static_cast<uint32_t>(SERVICE_RUNNING));
  ASSERT_EQ(StartAgentService(security), 0u);
  EXPECT_EQ(StateOf(security), static_cast<uint32_t>(SERVICE_RUNNING));
}

TEST_F(SimControlTest, RebootMarkerLivesInTheChosenView) {
  for (RegistryView view : {RegistryView::k64Bit, RegistryView::k32Bit}) {
    const RegistryView other =
        view == RegistryView::k64Bit ? RegistryView::k32Bit : RegistryView::k64Bit;
    ASSERT_EQ(SetRebootMarker(view), 0u);
    bool inView = false, inOther = true;
    ASSERT_EQ(QueryRebootMarker(view, &inView), 0u);
    ASSERT_EQ(QueryRebootMarker(other, &inOther), 0u);
    EXPECT_TRUE(inView);
    EXPECT_FALSE(inOther);
    ASSERT_EQ(ClearRebootMarker(), 0u);
    ASSERT_EQ(QueryRebootMarker(view, &inView), 0u);
    EXPECT_FALSE(inView);
  }
}

TEST_F(SimControlTest, AgentInstallerStandInRemovesAndRestoresTheServices) {
  const std::filesystem::path setup = SetupInstallerPath().parent_path();
  const auto runInstaller = [&setup](const Settings& behavior) {
    EXPECT_EQ(WriteBehavior(Module::kInstaller, setup, behavior), 0u);
    return RunProcess(SetupInstallerPath().wstring(),
                      L"\"" + SetupInstallerPath().wstring() + L"\" /remove /silent");
  };

  EXPECT_EQ(runInstaller({{"services", "unregister"}, {"reboot-marker", "set"}}), 0u);
  for (const auto& service : kAgentServices) {
    EXPECT_EQ(StateOf(service), static_cast<uint32_t>(ERROR_SERVICE_DOES_NOT_EXIST));
  }
  bool marker = false;
  ASSERT_EQ(QueryRebootMarker(RegistryView::k64Bit, &marker), 0u);
  EXPECT_TRUE(marker);

  EXPECT_EQ(runInstaller({{"services", "register"}, {"reboot-marker", "clear"}}), 0u);
  for (const auto& service : kAgentServices) {
    EXPECT_EQ(StateOf(service), static_cast<uint32_t>(SERVICE_RUNNING));
  }
  ASSERT_EQ(QueryRebootMarker(RegistryView::k64Bit, &marker), 0u);
  EXPECT_FALSE(marker);
}

}  // namespace
}  // namespace tarn::sim
