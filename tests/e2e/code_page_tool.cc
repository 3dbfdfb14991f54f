// Prints the ANSI code page the process runs with, for the code page end-to-end test.
#include <windows.h>

#include <cstdio>

int wmain() {
  std::printf("%u", GetACP());
  return 0;
}
