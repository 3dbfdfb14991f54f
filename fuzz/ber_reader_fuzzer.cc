// Walks arbitrary input to full depth twice: in one LoadNode call at the greatest depth, and one
// level at a time as the decoders do. Checks what the reader promises of every loaded node.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "auth/ber_reader.h"
#include "fuzz/fuzz_check.h"

namespace tarn {
namespace {

// Contents and encoding are read back exactly when they lie inside the input.
void CheckReadBack(const BerNode& node, const BerStream& stream, const uint8_t* data, size_t size) {
  Require(node.headerLength >= 2 && node.totalLength >= node.headerLength);
  Require(node.start < size);
  const bool inside = node.totalLength <= size - node.start;
  std::vector<uint8_t> out;
  Require((GetEncoding(node, stream, out) == 0) == inside);
  if (inside) {
    Require(out.size() == node.totalLength &&
            (out.empty() || std::memcmp(out.data(), data + node.start, out.size()) == 0));
  }
  Require((GetContents(node, stream, out) == 0) == inside);
  if (inside) Require(out.size() == node.totalLength - node.headerLength);
}

void CheckTree(const BerNode& node, const BerStream& stream, const uint8_t* data, size_t size) {
  CheckReadBack(node, stream, data, size);
  uint64_t next = node.start + node.headerLength;
  for (const BerNode& child : node.children) {
    Require(child.start == next);  // children follow each other without gaps
    next = child.start + child.totalLength;
    CheckTree(child, stream, data, size);
  }
}

// One level per call. Each call is bounded by the reader; the walk over all of them is not
// (overrunning children repeat octets), so it stops after as many nodes as the input has octets.
void LoadLevelByLevel(BerNode& node, BerStream& stream, uint64_t& visits) {
  if (visits == 0 || LoadChildren(node, stream, 1) != 0) return;
  --visits;
  for (BerNode& child : node.children) LoadLevelByLevel(child, stream, visits);
}

}  // namespace
}  // namespace tarn

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  BerStream stream(data, size);
  BerNode whole;
  if (LoadNode(whole, stream, kBerMaxDepth) == 0) CheckTree(whole, stream, data, size);

  stream.Seek(0);
  BerNode stepwise;
  if (LoadNode(stepwise, stream, 0) == 0) {
    uint64_t visits = size;
    LoadLevelByLevel(stepwise, stream, visits);
    CheckTree(stepwise, stream, data, size);
  }
  return 0;
}
