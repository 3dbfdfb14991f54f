#include "ops/last_system_scan.h"

#include <gtest/gtest.h>

#include <map>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

const std::wstring kFull = L"C:\\TARN\\Logs\\system\\dcf483c4-26d0-4e6f-ba28-6a53a00adae1";
const std::wstring kQuick = L"C:\\TARN\\Logs\\system\\da29f7c8-23b1-4974-8d11-209959ac694b";

std::string Summary(const std::string& start, const std::string& duration) {
  return "<ScanSummary>\r\n  <startTime>" + start + "</startTime>\r\n  <duration>" + duration +
         "</duration>\r\n</ScanSummary>\r\n";
}

// An agent at C:\TARN whose folders list `listings` and whose files hold `contents`.
struct FakeDisk {
  std::map<std::wstring, std::vector<ScanLogFile>> listings;  // by pattern
  std::map<std::wstring, std::string> contents;               // by path

  uint32_t Report(std::string& payload, Logger* log) {
    const ScanLogAccess access{
        [](std::wstring& imagePath, Logger*) {
          imagePath = L"C:\\TARN\\oxsecsvc.exe -service";
          return 0u;
        },
        [this](const std::wstring& pattern, std::vector<ScanLogFile>& files) {
          files = listings[pattern];
          return 0u;
        },
        [this](const std::wstring& path, std::string& bytes) {
          if (contents.count(path) == 0) return 5u;
          bytes = contents[path];
          return 0u;
        }};
    return GetLastSystemScan(payload, access, log);
  }
};

TEST(LastSystemScanTest, TheNewestXmlFileOfEachTaskCounts) {
  FakeDisk disk;
  // Of equal times the first listed stays; hidden files, other files and folders never count.
  disk.listings[kFull + L"\\*.xml"] = {{L"b.xml", 300},
                                       {L"a.xml", 300},
                                       {L".hidden.xml", 900},
                                       {L"later.xml.bak", 900},
                                       {L"folder.xml", 900, true},
                                       {L"old.xml", 100}};
  disk.listings[kQuick + L"\\*.xml"] = {{L"q.XML", 50}};
  disk.contents[kFull + L"\\b.xml"] = Summary("1700000000", "65500");
  disk.contents[kQuick + L"\\q.XML"] = Summary("1600000000", "999");
  std::string payload;
  EXPECT_EQ(disk.Report(payload, nullptr), 0u);
  EXPECT_EQ(payload, "1700000065|1600000000");

  // A newest log that cannot be read fails the report: no older one stands in.
  disk.listings[kFull + L"\\*.xml"].push_back({L"locked.xml", 400});
  const std::vector<std::string> log =
      LogOf([&](Logger* logger) { EXPECT_EQ(disk.Report(payload, logger), 5u); });
  EXPECT_EQ(log.back(), "Failed to read log. Error code: 5");
}

TEST(LastSystemScanTest, EndTimeFromLeadingNumbers) {
  struct Case {
    const char* start;
    const char* duration;
    int64_t end;
  } cases[] = {
      {"1700000000", "999", 1700000000},        {" 12abc", "+1500", 13}, {"", "no digits", 0},
      {"99999999999", "0", 2147483647},                            // clamped to 32 bits
      {"-99999999999", "0", -2147483648},       {"-1", "500", 0},  // -0.5 s: truncated toward zero
      {"2147483647", "2147483647", 2149631130},                    // combined in 64 bits
  };
  for (const Case& c : cases) {
    int64_t end = -1;
    EXPECT_EQ(ReadScanEndTime(Summary(c.start, c.duration), end, nullptr), 0u) << c.start;
    EXPECT_EQ(end, c.end) << c.start << " + " << c.duration;
  }
}

TEST(LastSystemScanTest, ANestingDeeperThanAnySummaryIsRefused) {
  // Well formed at any depth; quoted '>', comments and CDATA open nothing.
  const auto nested = [](int depth) {
    std::string xml = "<ScanSummary><startTime>1</startTime><duration>1</duration>";
    for (int i = 0; i < depth; ++i) xml += "<a x='>'><!-- <b> --><![CDATA[<c>]]><d/>";
    for (int i = 0; i < depth; ++i) xml += "</a>";
    return xml + "</ScanSummary>";
  };
  int64_t end = 0;
  EXPECT_EQ(ReadScanEndTime(nested(200), end, nullptr), 0u);
  EXPECT_EQ(end, 1);
  EXPECT_EQ(ReadScanEndTime(nested(300), end, nullptr), 13u);
}

}  // namespace
}  // namespace tarn
