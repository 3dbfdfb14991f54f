#include "ops/last_system_scan.h"

#include <limits>
#include <new>
#include <rapidxml/rapidxml.hpp>
#include <vector>

#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

// rapidxml descends once per nesting level. No scan summary comes near this depth; a log nested
// deeper is refused before it can exhaust the stack.
constexpr int kMaxXmlDepth = 256;

// Skips from `i` past the first `terminator`; returns the text's end when there is none.
size_t SkipPast(const std::string& text, size_t i, const char* terminator) {
  const size_t found = text.find(terminator, i);
  return found == std::string::npos ? text.size()
                                    : found + std::char_traits<char>::length(terminator);
}

// Whether elements in `text` nest deeper than `limit`, counted the way rapidxml opens and closes
// them: declarations, comments, CDATA and other "<!" or "<?" nodes open nothing, and a '>' inside
// a quoted attribute value does not end a tag.
bool NestsDeeperThan(const std::string& text, int limit) {
  int depth = 0;
  size_t i = 0;
  while ((i = text.find('<', i)) != std::string::npos) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == '/') {
      if (depth > 0) --depth;
      i = SkipPast(text, i, ">");
    } else if (next == '?') {
      i = SkipPast(text, i, "?>");
    } else if (text.compare(i, 4, "<!--") == 0) {
      i = SkipPast(text, i, "-->");
    } else if (text.compare(i, 9, "<![CDATA[") == 0) {
      i = SkipPast(text, i, "]]>");
    } else if (next == '!') {
      i = SkipPast(text, i, ">");
    } else {
      char quote = '\0';
      size_t j = i + 1;
      for (; j < text.size(); ++j) {
        const char c = text[j];
        if (quote != '\0') {
          if (c == quote) quote = '\0';
        } else if (c == '"' || c == '\'') {
          quote = c;
        } else if (c == '>') {
          break;
        }
      }
      if (j >= text.size() || text[j - 1] != '/') {
        if (++depth > limit) return true;
      }
      i = j;
    }
  }
  return false;
}

uint32_t InvalidLog(Logger* log, const wchar_t* message) {
  WriteLog(log, message);
  return kErrorInvalidData;
}

bool IsXmlName(const std::wstring& name) {
  constexpr size_t kExtension = 4;  // ".xml"
  return name.size() > kExtension &&
         EqualsIgnoreCase(std::wstring_view(name).substr(name.size() - kExtension), L".xml");
}

// The newest XML file of the listing, by last-write time; of two with the same time the first
// listed. Names beginning with "." and directories are skipped. Null when there is none.
const ScanLogFile* NewestLog(const std::vector<ScanLogFile>& files) {
  const ScanLogFile* newest = nullptr;
  for (const ScanLogFile& file : files) {
    if (file.isDirectory || file.name.empty() || file.name[0] == L'.' || !IsXmlName(file.name)) {
      continue;
    }
    if (newest == nullptr || file.lastWriteTime > newest->lastWriteTime) newest = &file;
  }
  return newest;
}

}  // namespace

int32_t LeadingNumber(const char* text) {
  const char* p = text;
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  int64_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    value = value * 10 + (*p - '0');
    if (value > kMax + 1) value = kMax + 1;  // saturated; more digits change nothing
  }
  if (negative) return static_cast<int32_t>(-value);
  return static_cast<int32_t>(value > kMax ? kMax : value);
}

uint32_t ReadScanEndTime(const std::string& xml, int64_t& endTime, Logger* log) {
  try {
    if (NestsDeeperThan(xml, kMaxXmlDepth)) return InvalidLog(log, L"Invalid XML file");
    std::vector<char> text(xml.begin(), xml.end());
    text.push_back('\0');  // rapidxml parses a terminated text in place
    rapidxml::xml_document<> document;
    try {
      document.parse<rapidxml::parse_default>(text.data());
    } catch (const rapidxml::parse_error&) {
      return InvalidLog(log, L"Invalid XML file");
    }
    const rapidxml::xml_node<>* summary = document.first_node("ScanSummary");
    if (summary == nullptr) {
      return InvalidLog(log, L"Invalid XML file. Could not find \"ScanSummary\" node");
    }
    const rapidxml::xml_node<>* start = summary->first_node("startTime");
    if (start == nullptr) {
      return InvalidLog(log, L"Invalid XML file. Could not find \"startTime\" node");
    }
    const rapidxml::xml_node<>* duration = summary->first_node("duration");
    if (duration == nullptr) {
      return InvalidLog(log, L"Invalid XML. Could not find \"duration\" node");
    }
    // Seconds and milliseconds as 32-bit numbers, combined in 64 bits: no overflow.
    const int64_t startSeconds = LeadingNumber(start->value());
    const int64_t durationMs = LeadingNumber(duration->value());
    endTime = (startSeconds * 1000 + durationMs) / 1000;
    return 0;
  } catch (const std::bad_alloc&) {
    return kErrorNotEnoughMemory;
  }
}

uint32_t GetLastSystemScan(std::string& payload, const ScanLogAccess& access, Logger* log) {
  WriteLog(log, L"Get OXSecurityService image path");
  std::wstring imagePath;
  if (const uint32_t code = access.serviceImagePath(imagePath, log); code != 0) {
    return LogFailure(log, L"Failed to retrieve service image path with error code: ", code);
  }
  const std::wstring directory = DirectoryOf(imagePath);

  std::string answer;
  for (const wchar_t* taskId : kScanTaskIds) {
    const std::wstring folder = directory + L"\\Logs\\system\\" + taskId;
    WriteLog(log, L"Find log: " + folder);
    std::vector<ScanLogFile> files;
    if (const uint32_t code = access.list(folder + L"\\*.xml", files); code != 0) {
      return LogFailure(log, L"Failed to list logs. Error code: ", code);
    }
    const ScanLogFile* newest = NewestLog(files);
    if (newest == nullptr) continue;

    std::string xml;
    if (const uint32_t code = access.read(folder + L"\\" + newest->name, xml); code != 0) {
      return LogFailure(log, L"Failed to read log. Error code: ", code);
    }
    int64_t endTime = 0;
    if (const uint32_t code = ReadScanEndTime(xml, endTime, log); code != 0) return code;
    WriteLog(log, L"Last system scan found for " + std::wstring(taskId) + L": " +
                      std::to_wstring(endTime));
    if (!answer.empty()) answer += "|";
    answer += std::to_string(endTime);
  }
  payload = answer;
  WriteLog(log, L"Finished retrieving last system scan successfully");
  return 0;
}

}  // namespace tarn
