// Update health: which update locations fail, one location's status, and whether the product is
// up to date. All read "Locations" of the "Product.GetStatus" output.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Operations: 0 with the answer, or the SDK session's code.
uint32_t GetUpdateErrors(std::string& payload, Logger* log);
uint32_t GetUpdateStatus(const std::string& location, std::string& payload, Logger* log);
uint32_t IsUpToDate(uint32_t& upToDate, Logger* log);

// The walks. `now` is seconds since 1970-01-01 UTC; `settings` is the output of
// "Update.GetUpdateSettings", or null when it could not be had.
std::string CollectUpdateErrors(const rapidjson::Value& status, Logger* log);
uint32_t SelectUpdateStatus(const rapidjson::Value& status, const std::string& location,
                            std::string& payload, Logger* log);
uint32_t DecideUpToDate(const rapidjson::Value& status, const rapidjson::Value* settings,
                        int64_t now, uint32_t& upToDate, Logger* log);

}  // namespace tarn
