// walker_bench: the status and update-health walks over a large "Product.GetStatus" reply,
// natively: the reply's parse as the session does it, then every walk. Prints time and peak
// memory; asserts nothing.
//
//   walker_bench [MEGABYTES] [ROUNDS]     (default 10 and 5)
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "agent/sdk_reply.h"
#include "ops/product_status.h"
#include "ops/update_health.h"

namespace {

// A reply shaped as the agent's, grown to `bytes` by alerts, locations and features in turn.
std::string MakeReply(size_t bytes) {
  std::string alerts, locations, features;
  for (size_t i = 0; alerts.size() + locations.size() + features.size() < bytes; ++i) {
    const std::string n = std::to_string(i);
    if (!alerts.empty()) alerts += ',';
    alerts += "\"Alert" + n + "\":{\"severity\":\"" + (i % 7 == 0 ? "Critical" : "info") +
              "\",\"details\":{\"text\":\"alert number " + n + "\"}}";
    if (!locations.empty()) locations += ',';
    locations += "\"Location" + n + "\":{\"Version\":\"7.9." + n +
                 "\",\"update\":{\"error\":" + (i % 5 == 0 ? "5" : "0") +
                 ",\"time\":1700000000,\"lastSucceededTime\":1700000000},\"check\":{\"error\":0,"
                 "\"time\":1700000000,\"lastSucceededTime\":1700000000},\"updateAvailable\":{"
                 "\"status\":\"no\"}}";
    if (!features.empty()) features += ',';
    features += "{\"id\":\"Feature" + n +
                "\",\"enabled\":true,\"isFunctioning\":" + (i % 3 == 0 ? "false" : "true") + "}";
  }
  return "{\"response\":{\"data\":{\"Product\":[{\"error\":0,\"output\":{\"Alerts\":{" + alerts +
         "},\"Locations\":{\"Product\":{\"Version\":\"7.9.12.345\"}," + locations +
         "},\"LastUpdateTime\":1700000000,\"Features\":[" + features +
         "],\"PendingRestart\":false}}]}}}";
}

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// CPU time of this thread: on a busy machine the wall clock also counts other programs' turns.
double CpuMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const size_t megabytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
  const long start = PeakKilobytes();
  std::string reply = MakeReply(megabytes << 20);
  // The peak so far is the reply's making; from here on it is the reading's. Writing 5 to
  // clear_refs sets the peak back to what is resident now, the reply included.
  if (FILE* refs = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", refs);
    std::fclose(refs);
  }

  using Clock = std::chrono::steady_clock;
  std::vector<double> parseMs, walkMs, parseCpuMs, walkCpuMs;
  size_t answers = 0;
  for (int round = 0; round < rounds; ++round) {
    const auto start = Clock::now();
    const double startCpu = CpuMilliseconds();
    rapidjson::Document output;
    int64_t agentError = 0;
    if (tarn::ParseSdkReply(reply, L"Product.GetStatus", output, agentError, nullptr) != 0 ||
        agentError != 0) {
      std::fprintf(stderr, "walker_bench: the reply did not parse\n");
      return 1;
    }
    const auto parsed = Clock::now();
    const double parsedCpu = CpuMilliseconds();
    answers += tarn::CollectCriticalIssues(output, nullptr).size();
    answers += tarn::CollectUpdateLocations(output, nullptr).size();
    answers += tarn::FindProductVersion(output, nullptr).size();
    answers += tarn::FindLastUpdateTime(output, nullptr).size();
    answers += tarn::CollectFeatureStatus(output, nullptr).size();
    answers += tarn::CollectUpdateErrors(output, nullptr).size();
    std::string status;
    if (tarn::SelectUpdateStatus(output, "Product", status, nullptr) == 0) answers += status.size();
    uint32_t upToDate = 0;
    if (tarn::DecideUpToDate(output, nullptr, 1700003600, upToDate, nullptr) == 0) answers += 1;
    const auto walked = Clock::now();
    const double walkedCpu = CpuMilliseconds();
    parseCpuMs.push_back(parsedCpu - startCpu);
    walkCpuMs.push_back(walkedCpu - parsedCpu);
    parseMs.push_back(std::chrono::duration<double, std::milli>(parsed - start).count());
    walkMs.push_back(std::chrono::duration<double, std::milli>(walked - parsed).count());
  }
  const long peak = PeakKilobytes();
  const double outputKb = static_cast<double>(reply.size()) / 1024;
  std::printf("reply_bytes %zu\n", reply.size());
  std::printf("parse_ms %.1f\n", Median(parseMs));
  std::printf("walks_ms %.1f\n", Median(walkMs));
  std::printf("total_ms %.1f\n", Median(parseMs) + Median(walkMs));
  std::printf("parse_cpu_ms %.1f\n", Median(parseCpuMs));
  std::printf("walks_cpu_ms %.1f\n", Median(walkCpuMs));
  std::printf("total_cpu_ms %.1f\n", Median(parseCpuMs) + Median(walkCpuMs));
  // Everything the reading holds at its peak, the reply text included.
  std::printf("peak_kb %ld\n", peak - start);
  std::printf("peak_ratio %.2f\n", static_cast<double>(peak - start) / outputKb);
  std::printf("answer_bytes %zu\n", answers / static_cast<size_t>(rounds));
  return 0;
}
