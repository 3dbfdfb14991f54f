// The product events the long-running operations wait for, and the payloads of the two
// competitor events. The payloads come from the agent's threads; nothing in them is trusted.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

inline constexpr char kScanStartedEvent[] = "FileScan.OnDemand.ScanStarted";
inline constexpr char kScanFailedEvent[] = "FileScan.OnDemand.ScanFailed";
inline constexpr char kAssessmentEndedEvent[] = "Product.CompetitorRemoval.AssessmentEnded";
inline constexpr char kRemovalEndedEvent[] = "Product.CompetitorRemoval.RemovalEnded";

// The two GUID texts a competitor request carries as its "runContext". An event belongs to the
// request only when it carries both back byte for byte.
struct RunContext {
  std::string otherData;
  std::string someData;
};

// One product found by an assessment.
struct CompetitorEntry {
  std::string id;
  std::string productName;
  bool removalSupported = false;
};

// One product of a removal; the agent names the product only when it was not found.
struct RemovalEntry {
  std::string id;
  std::string status;
  std::string productName;
};

// Read an awaited event's payload. A payload whose "@name" is not the awaited event's is taken
// with result 0 and no products.
/// False when the payload belongs to another run (its run context differs or is missing): the
/// event is not taken and nothing is written. Otherwise true with `result` 0 and the products
/// appended to `entries`, or `result` 3 for a malformed payload (the entries read so far stay)
/// or 8 when memory ran out.
[[nodiscard]] bool ReadAssessmentEvent(const std::string& payload, const RunContext& context,
                                       int64_t& result, std::vector<CompetitorEntry>& entries);
[[nodiscard]] bool ReadRemovalEvent(const std::string& payload, const RunContext& context,
                                    int64_t& result, std::vector<RemovalEntry>& entries);

}  // namespace tarn
