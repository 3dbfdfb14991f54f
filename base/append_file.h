// A file opened for appending only, so that each Append lands whole at the end of the file even
// when other processes append to it at the same time: the system moves to the end and writes in
// one step, where a seek followed by a write lets two writers overwrite each other.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

class AppendFile {
 public:
  // Opens `path`, creating it when missing. A file that cannot be opened leaves is_open() false.
  explicit AppendFile(const std::wstring& path);
  ~AppendFile();
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  bool is_open() const { return handle_ != -1; }
  // Writes `bytes` at the end of the file in one call. False when nothing or not all was written.
  bool Append(std::string_view bytes);

 private:
  intptr_t handle_ = -1;  // the platform's handle or descriptor; -1 when not open on either
};

}  // namespace tarn
