// A scenario: how the stand-in agent answers. Read once per instance from
// <library directory>\sim\scenario.json; the format is described in README.md.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarn::sim {

class Scenario {
 public:
  // Reads and checks a scenario text. On failure returns false and says why in *error
  // (the path of the offending member and what was expected).
  [[nodiscard]] static bool Parse(std::string_view text, Scenario* out, std::string* error);

  // Results of the library's calls ("getInstance", "register", "unregister", "run"); 0 by default.
  int32_t get_instance_result() const { return get_instance_; }
  int32_t register_result() const { return register_; }
  int32_t unregister_result() const { return unregister_; }
  int32_t run_result() const { return run_; }

  // The entry that answers `method`: "methods"[method], else "default", else the built-in
  // default (reply "error" kSimUnknownMethodError, "output" {}).
  const rapidjson::Value& EntryFor(std::string_view method) const;

 private:
  std::unique_ptr<rapidjson::Document> document_;
  int32_t get_instance_ = 0;
  int32_t register_ = 0;
  int32_t unregister_ = 0;
  int32_t run_ = 0;
};

// A result code as the scenario writes it: a 32-bit integer, signed or not (0x80004005 may be
// written 2147500037 or -2147467259). Returns false for anything else.
bool ReadResultCode(const rapidjson::Value& value, int32_t* code);

}  // namespace tarn::sim
