#include "app/output.h"

#include <cstdio>

#include "base/process_state.h"

namespace tarn {

void WriteResultText() {
  if (ResultText.empty()) return;
  // A failure to write standard output is not the command's failure.
  std::fwrite(ResultText.data(), 1, ResultText.size(), stdout);
  std::fflush(stdout);
}

}  // namespace tarn
