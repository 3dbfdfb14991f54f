// Update health: which update locations fail, one location's status, and whether the product is
// up to date. All read "Locations" of the "Product.GetStatus" output.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// The operations (update_health_win.cc).
/// 0 with the answer; the session's code (or 3) with `payload` empty.
[[nodiscard]] uint32_t GetUpdateErrors(std::string& payload, Logger* log);
/// 0 with the answer; the session's code, 160 for an unknown location, or 3; `payload` empty.
[[nodiscard]] uint32_t GetUpdateStatus(const std::string& location, std::string& payload,
                                       Logger* log);
/// 0 with the answer; the session's code or 3 with `upToDate` 0.
[[nodiscard]] uint32_t IsUpToDate(uint32_t& upToDate, Logger* log);

// The walks. `now` is seconds since 1970-01-01 UTC; `settings` is the output of
// "Update.GetUpdateSettings", or null when it could not be had.
std::string CollectUpdateErrors(const rapidjson::Value& status, Logger* log);
/// 0 with the answer (none without "Locations"), or 160 for a location that is missing or not
/// an object, `payload` untouched.
[[nodiscard]] uint32_t SelectUpdateStatus(const rapidjson::Value& status,
                                          const std::string& location, std::string& payload,
                                          Logger* log);
/// 0 with the verdict, or 3 for a status or schedule it cannot read (`upToDate` is then moot).
[[nodiscard]] uint32_t DecideUpToDate(const rapidjson::Value& status,
                                      const rapidjson::Value* settings, int64_t now,
                                      uint32_t& upToDate, Logger* log);

}  // namespace tarn
