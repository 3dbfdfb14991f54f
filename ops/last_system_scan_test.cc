#include "ops/last_system_scan.h"

#include <gtest/gtest.h>

#include <map>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

const std::wstring kFull = L"C:\\TARN\\Logs\\system\\dcf483c4-26d0-4e6f-ba28-6a53a00adae1";
const std::wstring kQuick = L"C:\\TARN\\Logs\\system\\da29f7c8-23b1-4974-8d11-209959ac694b";

std::string Summary(const std::string& start, const std::string& duration) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<ScanSummary>\r\n  <startTime>" + start +
         "</startTime>\r\n  <duration>" + duration + "</duration>\r\n</ScanSummary>\r\n";
}

// An agent at C:\TARN whose folders hold `listings` and whose files hold `contents`.
struct FakeDisk {
  std::map<std::wstring, std::vector<ScanLogFile>> listings;  // by folder
  std::map<std::wstring, std::string> contents;               // by path
  std::vector<std::wstring> read;

  ScanLogAccess Access() {
    return {[](std::wstring& imagePath, Logger*) {
              imagePath = L"C:\\TARN\\oxsecsvc.exe -service";
              return 0u;
            },
            [this](const std::wstring& pattern, std::vector<ScanLogFile>& files) {
              files = listings[pattern.substr(0, pattern.size() - 6)];  // "\*.xml"
              return 0u;
            },
            [this](const std::wstring& path, std::string& bytes) {
              read.push_back(path);
              if (contents.count(path) == 0) return 5u;
              bytes = contents[path];
              return 0u;
            }};
  }
};

struct Result {
  uint32_t code;
  std::string payload;
  std::vector<std::string> log;
};

Result Report(FakeDisk& disk) {
  Result result{};
  result.log = LogOf(
      [&](Logger* log) { result.code = GetLastSystemScan(result.payload, disk.Access(), log); });
  return result;
}

TEST(LastSystemScanTest, NewestLogOfEachTaskByLastWriteTime) {
  FakeDisk disk;
  disk.listings[kFull] = {{L"a-newest.xml", 300},      {L"b.xml", 100},
                          {L"z-latest-name.xml", 200}, {L".hidden.xml", 900},
                          {L"later.txt.xml.bak", 900}, {L"folder.xml", 900, true}};
  disk.listings[kQuick] = {{L"first.XML", 50}, {L"same-time.xml", 50}};
  disk.contents[kFull + L"\\a-newest.xml"] = Summary("1700000000", "65500");
  disk.contents[kQuick + L"\\first.XML"] = Summary("1600000000", "999");
  const Result result = Report(disk);
  EXPECT_EQ(result.code, 0u);
  EXPECT_EQ(result.payload, "1700000065|1600000000");
  EXPECT_EQ(result.log,
            (std::vector<std::string>{
                "Get OXSecurityService image path",
                "Find log: C:\\TARN\\Logs\\system\\dcf483c4-26d0-4e6f-ba28-6a53a00adae1",
                "Last system scan found for dcf483c4-26d0-4e6f-ba28-6a53a00adae1: 1700000065",
                "Find log: C:\\TARN\\Logs\\system\\da29f7c8-23b1-4974-8d11-209959ac694b",
                "Last system scan found for da29f7c8-23b1-4974-8d11-209959ac694b: 1600000000",
                "Finished retrieving last system scan successfully"}));
}

TEST(LastSystemScanTest, TasksWithoutLogsAddNothing) {
  FakeDisk disk;
  EXPECT_EQ(Report(disk).payload, "");
  disk.listings[kQuick] = {{L"q.xml", 1}};
  disk.contents[kQuick + L"\\q.xml"] = Summary("42", "0");
  const Result result = Report(disk);
  EXPECT_EQ(result.code, 0u);
  EXPECT_EQ(result.payload, "42");
}

TEST(LastSystemScanTest, AnUnusableNewestLogFailsWithoutFallingBack) {
  struct Case {
    std::string content;
    const char* line;
  } cases[] = {
      {"<ScanSummary><startTime>1</startTime>", "Invalid XML file"},
      {"<Summary><startTime>1</startTime><duration>1</duration></Summary>",
       "Invalid XML file. Could not find \"ScanSummary\" node"},
      {"<ScanSummary><duration>1</duration></ScanSummary>",
       "Invalid XML file. Could not find \"startTime\" node"},
      {"<ScanSummary><starttime>1</starttime><startTime>1</startTime></ScanSummary>",
       "Invalid XML. Could not find \"duration\" node"},
      {[] {
         std::string deep;
         for (int i = 0; i < 300; ++i) deep += "<a>";
         return deep;
       }(),
       "Invalid XML file"},
  };
  for (const Case& c : cases) {
    FakeDisk disk;
    disk.listings[kFull] = {{L"new.xml", 2}, {L"old.xml", 1}};
    disk.listings[kQuick] = {{L"q.xml", 1}};
    disk.contents[kFull + L"\\new.xml"] = c.content;
    disk.contents[kFull + L"\\old.xml"] = Summary("1", "1");
    disk.contents[kQuick + L"\\q.xml"] = Summary("1", "1");
    const Result result = Report(disk);
    EXPECT_EQ(result.code, 13u) << c.line;
    EXPECT_EQ(result.log.back(), c.line);
    EXPECT_EQ(disk.read, std::vector<std::wstring>{kFull + L"\\new.xml"}) << c.line;
  }

  FakeDisk unreadable;
  unreadable.listings[kFull] = {{L"locked.xml", 1}};
  const Result result = Report(unreadable);
  EXPECT_EQ(result.code, 5u);
  EXPECT_EQ(result.log.back(), "Failed to read log. Error code: 5");
}

TEST(LastSystemScanTest, EndTimeFromLeadingNumbers) {
  struct Case {
    const char* start;
    const char* duration;
    int64_t end;
  } cases[] = {
      {"1700000000", "65500", 1700000065},
      {"1700000000", "999", 1700000000},
      {" 12abc", "+1500", 13},
      {"", "no digits", 0},
      {"99999999999", "0", 2147483647},  // clamped to 32 bits
      {"-99999999999", "0", -2147483648},
      {"-1", "500", 0},                          // -0.5 s: truncated toward zero
      {"2147483647", "2147483647", 2149631130},  // combined in 64 bits
  };
  for (const Case& c : cases) {
    int64_t end = -1;
    EXPECT_EQ(ReadScanEndTime(Summary(c.start, c.duration), end, nullptr), 0u) << c.start;
    EXPECT_EQ(end, c.end) << c.start << " + " << c.duration;
  }
}

}  // namespace
}  // namespace tarn
