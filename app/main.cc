// tarn-rmm: runs one command of an RMM platform against the endpoint security agent.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <memory>
#include <new>

#include "app/dispatcher.h"
#include "app/wiring.h"
#include "base/process_state.h"
#include "base/result_codes.h"

int wmain(int argc, wchar_t* argv[]) {
  if (argc < 2 || argc > 30) return tarn::kErrorBadArguments;

  std::unique_ptr<tarn::StartupSettings> settings(new (std::nothrow) tarn::StartupSettings);
  if (!settings) return tarn::kErrorNotEnoughMemory;

  // The answer is written byte for byte: no "\r" slipped in before a "\n".
  _setmode(_fileno(stdout), _O_BINARY);

  tarn::WireModuleCheck();
  tarn::ArgumentList.assign(argv, argv + argc);
  tarn::ArgumentCount = argc;
  return static_cast<int>(tarn::Dispatch(*settings));
}
