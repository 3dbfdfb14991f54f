// Writes the command contract for integrators:
//   tarn-contract json VERSION | exit-codes VERSION | readme-table
#include <cstdio>
#include <string>

#include "tools/contract/contract.h"

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  const std::string version = argc > 2 ? argv[2] : "";
  std::string text;
  if (what == "json" && argc == 3) {
    text = tarn::ContractJson(version);
  } else if (what == "exit-codes" && argc == 3) {
    text = tarn::ExitCodeReference(version);
  } else if (what == "readme-table" && argc == 2) {
    text = tarn::ReferenceTableHeader();
    for (const tarn::CommandFacts& facts : tarn::kCommandFacts) {
      text += tarn::ReferenceRow(facts) + "\n";
    }
  } else {
    std::fprintf(stderr, "usage: tarn-contract json VERSION | exit-codes VERSION | readme-table\n");
    return 2;
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  return 0;
}
