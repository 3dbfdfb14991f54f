// kv.dll called as the tool calls it, for what the end-to-end tests of the tool cannot stage:
// the legacy flag set (their prefix is Windows 7), a behaviour file it cannot read and the call
// record of the arguments. The links and the result it is told to give are read back end to end.
#include <gtest/gtest.h>

#include "base/win_handles.h"
#include "sim/agent/test_support.h"

namespace tarn::sim {
namespace {

using testing::BuildKit;

using GetInstallationLinksFunction = uint32_t (*)(std::string&, const std::string&,
                                                  const std::string&, const std::string&, int32_t);

TEST(KvLibraryTest, LegacyFlagAndUnreadableBehaviour) {
  const struct {
    const char* behavior;  // null: no behaviour file
    int32_t legacy;
    uint32_t result;
    std::string links;
  } cases[] = {
      {nullptr, 1, 0, "u/download/p?apiKey=k&legacy=1"},
      {"result=-1\n", 0, 13, "stale output left as it was"},
  };
  for (const auto& c : cases) {
    TempDir dir;
    ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / L"kv.dll", dir.path() / L"kv.dll"), 0u);
    if (c.behavior) {
      ASSERT_EQ(WriteFileBytes(BehaviorFile(Module::kKv, dir.path()), c.behavior), 0u);
    }
    std::string output = "stale output left as it was";
    UniqueHmodule library(LoadLibraryW((dir.path() / L"kv.dll").c_str()));
    ASSERT_TRUE(library) << GetLastError();
    const auto export_ = reinterpret_cast<GetInstallationLinksFunction>(
        reinterpret_cast<void*>(GetProcAddress(library.get(), "GetInstallationLinks")));
    ASSERT_NE(export_, nullptr);
    EXPECT_EQ(export_(output, "u", "k", "p", c.legacy), c.result) << c.behavior;
    EXPECT_EQ(output, c.links) << c.behavior;
    std::vector<std::string> calls;
    ASSERT_EQ(ReadCallRecord(Module::kKv, dir.path(), &calls), 0u);
    EXPECT_EQ(calls, std::vector<std::string>{
                         R"({"kvUrl":"u","apiKey":"k","packageName":"p","legacy":)" +
                         std::to_string(c.legacy) + R"(,"output":"stale output left as it was"})"});
  }
}

}  // namespace
}  // namespace tarn::sim
