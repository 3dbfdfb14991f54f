// Feature editing: "-editfeatures" arguments turned into one "AddRemove" request of the agent's
// installer. The argument walk and the request text are platform-free; the agent is reached
// through a runner, the SDK session on Windows.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// The agent's protection features, in the agent's order. SetFeatures removes in this order.
inline constexpr std::array<const wchar_t*, 21> kFeatureIds = {
    L"FileScan",
    L"UserControl",
    L"Antiphishing",
    L"Firewall",
    L"UpdateServer",
    L"BehavioralScan",
    L"TrafficScan",
    L"MailServers",
    L"DataLossPrevention",
    L"ApplicationControl",
    L"PowerUser",
    L"EventCorrelator",
    L"VolumeEncryption",
    L"PatchManagement",
    L"PatchManagementServer",
    L"VulnerabilityAssessment",
    L"AntiExploit",
    L"NetworkMonitor",
    L"Introspection",
    L"IntegrityMonitor",
    L"ContainerProtection",
};

// The ids of each operation word, in the order the backwards walk met them.
struct FeatureEdit {
  std::vector<std::wstring> add;
  std::vector<std::wstring> remove;
  std::vector<std::wstring> set;
};

// Sends one "Product.Installer.AddRemove" request text to the agent; returns the call's code.
using FeatureRequestRunner = std::function<uint32_t(const std::wstring& request, Logger* log)>;

// Walks `arguments` (program, command word, then the edit words and ids) from the last element
// down to element 2.
/// 0 with `edit` filled, or 160 after logging the rule that failed (`edit` then partly filled).
[[nodiscard]] uint32_t ParseFeatureArguments(const std::vector<std::wstring>& arguments,
                                             FeatureEdit& edit, Logger* log);

// The request text, ids in the order given.
std::wstring BuildAddRemoveRequest(const std::vector<std::wstring>& add,
                                   const std::vector<std::wstring>& remove);

// Sends the add and remove lists as they are.
/// 160 without a request for a duplicate added id or an id both added and removed; otherwise
/// the runner's code.
[[nodiscard]] uint32_t AddRemoveFeatures(const FeatureRequestRunner& run,
                                         const std::vector<std::wstring>& add,
                                         const std::vector<std::wstring>& remove, Logger* log);
// Adds the named ids and removes every other feature, both in the agent's order.
/// The runner's code.
[[nodiscard]] uint32_t SetFeatures(const FeatureRequestRunner& run,
                                   const std::vector<std::wstring>& set, Logger* log);

// The whole operation.
/// 160 for any argument error, before the runner is called; otherwise the runner's code.
[[nodiscard]] uint32_t EditFeatures(const FeatureRequestRunner& run,
                                    const std::vector<std::wstring>& arguments, Logger* log);
// The same against the agent through the SDK session (Windows only).
/// The first failure of the session, the SDK call and the agent's answer, in that order.
[[nodiscard]] uint32_t EditFeatures(const std::vector<std::wstring>& arguments, Logger* log);

}  // namespace tarn
