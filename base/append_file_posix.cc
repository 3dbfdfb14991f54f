#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "base/append_file.h"

namespace tarn {

// O_APPEND: every write goes to the end of the file as one step.
AppendFile::AppendFile(const std::wstring& path) {
  const int fd =
      open(std::filesystem::path(path).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd != -1) handle_ = fd;
}

AppendFile::~AppendFile() {
  if (is_open()) close(static_cast<int>(handle_));
}

bool AppendFile::Append(std::string_view bytes) {
  if (!is_open()) return false;
  return write(static_cast<int>(handle_), bytes.data(), bytes.size()) ==
         static_cast<ssize_t>(bytes.size());
}

}  // namespace tarn
