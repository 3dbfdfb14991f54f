// kv.dll called as the tool calls it: loaded into this program, its export handed std::string
// objects made here, its output read and freed here.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "base/win_handles.h"
#include "sim/agent/test_support.h"

namespace tarn::sim {
namespace {

using testing::BuildKit;
using testing::TempDir;

using GetInstallationLinksFunction = uint32_t (*)(std::string&, const std::string&,
                                                  const std::string&, const std::string&, int32_t);

TEST(KvLibraryTest, AnswersTheChosenLinksAndCodeAndRecordsItsArguments) {
  // Texts longer than a string's inline buffer, so that the heap is shared across the boundary.
  const std::string url = "https://console.arvantis.example/kv/endpoint-installers";
  const std::string key = "0123456789abcdef0123456789abcdef";
  const std::string package = "Workstations \"EU\" package";
  const struct {
    const char* behavior;  // null: no behaviour file
    int32_t legacy;
    uint32_t result;
    std::string links;
  } cases[] = {
      {nullptr, 1, 0, url + "/download/" + package + "?apiKey=" + key + "&legacy=1"},
      {"result=0\nlinks=https://a.example/x.exe|https://b.example/y.exe\n", 0, 0,
       "https://a.example/x.exe|https://b.example/y.exe"},
      {"result=1460\nlinks=partial\n", 0, 1460, "partial"},
      {"result=-1\n", 0, 13, "stale output left as it was"},
  };
  for (const auto& c : cases) {
    TempDir dir;
    ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / L"kv.dll", dir.path() / L"kv.dll"), 0u);
    if (c.behavior) {
      ASSERT_EQ(WriteFileBytes(BehaviorFile(Module::kKv, dir.path()), c.behavior), 0u);
    }

    std::string output = "stale output left as it was";
    {
      UniqueHmodule library(LoadLibraryW((dir.path() / L"kv.dll").c_str()));
      ASSERT_TRUE(library) << GetLastError();
      const auto export_ = reinterpret_cast<GetInstallationLinksFunction>(
          reinterpret_cast<void*>(GetProcAddress(library.get(), "GetInstallationLinks")));
      ASSERT_NE(export_, nullptr);
      EXPECT_EQ(export_(output, url, key, package, c.legacy), c.result) << c.behavior;
    }  // unloaded: the output must not depend on the library's memory
    EXPECT_EQ(output, c.links) << c.behavior;
    output.assign(200, 'x');  // reallocated and later freed by this module

    std::vector<std::string> calls;
    ASSERT_EQ(ReadCallRecord(Module::kKv, dir.path(), &calls), 0u);
    ASSERT_EQ(calls.size(), 1u);
    rapidjson::Document call;
    call.Parse(calls[0]);
    ASSERT_TRUE(call.IsObject()) << calls[0];
    EXPECT_EQ(call["kvUrl"].GetString(), url);
    EXPECT_EQ(call["apiKey"].GetString(), key);
    EXPECT_EQ(call["packageName"].GetString(), package);
    EXPECT_EQ(call["legacy"].GetInt(), c.legacy);
    EXPECT_EQ(call["output"].GetString(), std::string("stale output left as it was"));
  }
}

}  // namespace
}  // namespace tarn::sim
