// The five product status queries: each reads "Product.GetStatus" from the agent and turns a few
// members of its output into a short answer.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// The operations (product_status_win.cc), each asking the agent for "Product.GetStatus".
/// 0 with the answer in `payload`; the session's code (or 3) with `payload` empty.
[[nodiscard]] uint32_t GetCriticalIssues(std::string& payload, Logger* log);
/// As GetCriticalIssues.
[[nodiscard]] uint32_t GetUpdateLocations(std::string& payload, Logger* log);
/// As GetCriticalIssues.
[[nodiscard]] uint32_t GetProductVersion(std::string& payload, Logger* log);
/// As GetCriticalIssues.
[[nodiscard]] uint32_t GetLastUpdateTime(std::string& payload, Logger* log);
/// As GetCriticalIssues.
[[nodiscard]] uint32_t GetFeatureStatus(std::string& payload, Logger* log);

// The walks over a status output. A missing or mistyped member ends a walk with what it has;
// they never fail.
std::string CollectCriticalIssues(const rapidjson::Value& output, Logger* log);
std::string CollectUpdateLocations(const rapidjson::Value& output, Logger* log);
std::string FindProductVersion(const rapidjson::Value& output, Logger* log);
std::string FindLastUpdateTime(const rapidjson::Value& output, Logger* log);
std::string CollectFeatureStatus(const rapidjson::Value& output, Logger* log);

using StatusWalk = std::string (*)(const rapidjson::Value& output, Logger* log);

// Runs `walk` over `status` into `payload`, then logs `closing` with the code. The walks check
// every type, so only a failed allocation can throw.
/// 0, or 3 after a throw (logged "Invalid JSON") with `payload` empty.
[[nodiscard]] uint32_t WalkStatusOutput(const rapidjson::Value& status, StatusWalk walk,
                                        std::string& payload, const wchar_t* closing, Logger* log);

// Appends `entry` to a "|"-joined list that holds `count` entries so far. The separator goes
// before every entry but the first, also when an entry is empty (a member may have the name "").
void AppendEntry(std::string& list, size_t& count, const std::string& entry);

// ASCII letter case ignored, as the agent's fixed words are compared.
bool EqualsAsciiIgnoreCase(const char* a, size_t aLength, const char* b);

}  // namespace tarn
