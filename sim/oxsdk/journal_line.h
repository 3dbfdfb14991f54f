// One line of the stand-in's journal (<library directory>\sim\journal.jsonl): a JSON object
// {"time": "...Z", "pid": N, "kind": K, ...members in the order they were added}.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::sim {

class JournalLine {
 public:
  explicit JournalLine(std::string_view kind);

  JournalLine& Add(const char* key, std::string_view value);
  JournalLine& AddOrNull(const char* key, const std::optional<std::string>& value);
  JournalLine& Add(const char* key, int64_t value);
  JournalLine& AddBool(const char* key, bool value);

  // The finished line, ending in "\n". `unix_ms`: milliseconds since 1970-01-01 UTC.
  std::string Text(int64_t unix_ms, uint32_t pid) const;

 private:
  rapidjson::Document fields_;
};

// "2026-11-21T07:21:56.123Z".
std::string UtcTimeText(int64_t unix_ms);

}  // namespace tarn::sim
