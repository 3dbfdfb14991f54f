// The competitor events' payload readers on arbitrary input, against a fixed run context.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "agent/event_payloads.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The event callback hands over a NUL-terminated text: nothing past a NUL arrives.
  const std::string payload(reinterpret_cast<const char*>(data), size);
  const std::string text = payload.substr(0, payload.find('\0'));
  const tarn::RunContext context{"o-1", "s-2"};

  int64_t result = -1;
  std::vector<tarn::CompetitorEntry> competitors;
  const bool assessmentTaken = tarn::ReadAssessmentEvent(text, context, result, competitors);
  // An event of another run yields nothing; one taken yields a known code, products only on 0.
  if (!assessmentTaken && !competitors.empty()) std::abort();
  if (assessmentTaken && result != 0 && result != 3 && result != 8) std::abort();

  std::vector<tarn::RemovalEntry> removals;
  const bool removalTaken = tarn::ReadRemovalEvent(text, context, result, removals);
  if (!removalTaken && !removals.empty()) std::abort();
  for (const tarn::RemovalEntry& entry : removals) {
    if (entry.status != "notFound" && !entry.productName.empty()) std::abort();
  }
  return 0;
}
