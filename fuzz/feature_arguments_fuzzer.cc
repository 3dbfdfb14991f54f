// The "-editfeatures" argument walk on random argument vectors. Each input byte picks one
// argument from Tokens() (the first byte picks the agent's answer instead). Every run must end
// either with 160, no request and one of the walk's messages, or with exactly one well-formed
// request whose ids are exactly the ids the arguments named, and the agent's answer as result.
#include <rapidjson/document.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "base/test_log_capture.h"
#include "base/text.h"
#include "fuzz/fuzz_check.h"
#include "ops/feature_editing.h"

namespace {

using tarn::kFeatureIds;
using tarn::Require;

const std::vector<std::wstring>& Tokens() {
  static const std::vector<std::wstring> tokens = [] {
    std::vector<std::wstring> list(kFeatureIds.begin(), kFeatureIds.end());
    list.insert(list.end(), {L"-add", L"-ADD", L"-remove", L"-Remove", L"-set", L"-SeT",
                             L"firewall", L"", L"-other"});
    return list;
  }();
  return tokens;
}

bool IsFeatureId(const std::string& id) {
  return std::any_of(kFeatureIds.begin(), kFeatureIds.end(),
                     [&](const wchar_t* known) { return tarn::WideToUtf8(known) == id; });
}

bool IsWalkMessage(const std::string& message, const std::vector<std::wstring>& arguments) {
  static const std::set<std::string> fixed = {
      "Arguments for add features operation are invalid",
      "Arguments for remove features operation are invalid",
      "Arguments for set features operation are invalid",
      "The feature argument list is invalid",
      "The add/remove feature operation cannot be performed due to invalid parameters",
  };
  return fixed.count(message) != 0 ||
         std::any_of(arguments.begin() + 2, arguments.end(), [&](const std::wstring& argument) {
           return message == "Feature \"" + tarn::WideToUtf8(argument) +
                                 "\" doesn't exists or has already been added";
         });
}

// The ids of `member` of the request's "features", or abort when the request is not the shape
// the agent expects.
std::vector<std::string> RequestIds(const rapidjson::Document& request, const char* member) {
  const rapidjson::Value& element = request["data"]["Product.Installer"][0];
  Require(std::string(element["@name"].GetString()) == "AddRemove" &&
          std::string(element["input"]["competitorRemoval"]["execute"].GetString()) == "never");
  std::vector<std::string> ids;
  for (const auto& id : element["input"]["features"][member].GetArray()) {
    Require(id.IsString() && IsFeatureId(id.GetString()));
    ids.push_back(id.GetString());
  }
  return ids;
}

void CheckRequest(const std::wstring& text, const std::vector<std::wstring>& arguments) {
  rapidjson::Document request;
  request.Parse(tarn::WideToUtf8(text).c_str());
  Require(!request.HasParseError() && request.IsObject() && request.HasMember("data"));
  std::vector<std::string> add = RequestIds(request, "add");
  std::vector<std::string> remove = RequestIds(request, "remove");

  std::vector<std::string> named;  // the id arguments
  bool set = false;
  for (size_t index = 2; index < arguments.size(); ++index) {
    const std::wstring lower = tarn::ToLowerWide(arguments[index]);
    set = set || lower == L"-set";
    if (lower != L"-add" && lower != L"-remove" && lower != L"-set") {
      named.push_back(tarn::WideToUtf8(arguments[index]));
    }
  }
  std::sort(named.begin(), named.end());
  std::vector<std::string> all = add;
  all.insert(all.end(), remove.begin(), remove.end());
  std::sort(all.begin(), all.end());
  std::sort(add.begin(), add.end());
  Require(std::adjacent_find(all.begin(), all.end()) == all.end());  // no id twice
  // A set adds exactly the named ids and removes all others; add/remove sends each named id once.
  Require(set ? (add == named && all.size() == kFeatureIds.size()) : all == named);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 40) return 0;
  static tarn::LogCapture* const capture = new tarn::LogCapture("tarn-fuzz-features");
  const uint32_t answer = (data[0] & 1) != 0 ? 1460 : 0;
  std::vector<std::wstring> arguments = {L"tarn-rmm.exe", L"-editfeatures"};
  for (size_t index = 1; index < size; ++index) {
    arguments.push_back(Tokens()[data[index] % Tokens().size()]);
  }

  std::vector<std::wstring> requests;
  const uint32_t result = tarn::EditFeatures(
      [&](const std::wstring& request, tarn::Logger*) {
        requests.push_back(request);
        return answer;
      },
      arguments, capture->get());
  const std::vector<std::string> log = capture->Take();
  Require(!log.empty());

  if (result == 160) {
    Require(requests.empty() && IsWalkMessage(log.back(), arguments));
  } else if (arguments.size() == 2) {
    Require(result == 0 && requests.empty());
  } else {
    Require(requests.size() == 1 && result == answer &&
            log.back() == "Finished to edit features with error code: " + std::to_string(answer));
    CheckRequest(requests[0], arguments);
  }
  return 0;
}
