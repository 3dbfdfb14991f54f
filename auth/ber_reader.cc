#include "auth/ber_reader.h"

#include <cstring>
#include <limits>
#include <utility>

namespace tarn {
namespace {

constexpr uint64_t kMaxPosition = std::numeric_limits<uint64_t>::max();

bool IsEndOfContents(const BerNode& node) {
  return node.tag == 0 && node.tagClass == 0 && !node.constructed && node.totalLength == 2 &&
         !node.indefinite;
}

// `budget` is the number of nodes one public call may still load. A child may overrun its parent,
// and then the octets after the parent are read again as the parent's sibling: nested overruns
// make the tree grow exponentially with depth (128 octets of "30 06 30 02" give eight million
// nodes at depth 64). A well-formed encoding holds at most one node per two octets, so one node
// per octet of the stream is generous; an input that needs more fails as a bad read.
uint32_t LoadChildren(BerNode& node, BerStream& stream, int32_t depth, uint64_t& budget);

uint32_t LoadNode(BerNode& node, BerStream& stream, int32_t depth, uint64_t& budget) {
  if (depth < kBerMinDepth || depth > kBerMaxDepth) return kErrorMalformed;
  if (budget == 0) return kErrorFileNotFound;
  --budget;
  node = BerNode();
  node.start = stream.Position();

  uint8_t identifier = 0;
  if (!stream.ReadOctet(identifier)) return kErrorFileNotFound;
  node.tag = identifier & 0x1F;  // the high-tag-number form (31) is not followed
  node.constructed = (identifier & 0x20) != 0;
  node.tagClass = identifier & 0xC0;

  uint8_t first = 0;
  if (!stream.ReadOctet(first)) return kErrorFileNotFound;
  uint64_t length = 0;
  if (first < 0x80) {
    node.headerLength = 2;
    length = first;
  } else {
    const uint8_t count = first & 0x7F;
    node.headerLength = static_cast<uint8_t>(count + 2);
    node.indefinite = count == 0;
    for (uint8_t i = 0; i < count; ++i) {
      uint8_t octet = 0;
      if (!stream.ReadOctet(octet)) return kErrorFileNotFound;
      // Leading zero octets are harmless; a value beyond 64 bits ends past any stream.
      if (length > (kMaxPosition >> 8)) return kErrorFileNotFound;
      length = (length << 8) | octet;
    }
  }
  // The node's end, start + header + length, must be a position: otherwise it lies past any
  // stream, and accepting a wrapped length would let the child loop go backwards.
  if (length > kMaxPosition - node.headerLength - node.start) return kErrorFileNotFound;
  node.totalLength = node.headerLength + length;

  const uint32_t result = LoadChildren(node, stream, depth, budget);
  if (result != 0) return result;
  if (node.constructed) node.complete = true;
  return 0;
}

uint32_t LoadChildren(BerNode& node, BerStream& stream, int32_t depth, uint64_t& budget) {
  if (!node.indefinite && !(node.constructed && depth >= 1)) return 0;
  node.children.clear();
  uint64_t position = node.start + node.headerLength;
  // Contents octets still to be covered by children. A child may overrun them; the loop then
  // stops after it, as a signed count would when it turns non-positive.
  uint64_t remaining = node.totalLength - node.headerLength;
  for (;;) {
    if (remaining == 0 && !node.indefinite) {
      node.complete = true;
      return 0;
    }
    stream.Seek(position);
    BerNode child;
    const uint32_t result = LoadNode(child, stream, depth - 1, budget);
    if (result != 0) return result;
    // LoadNode guarantees child.start + child.totalLength fits, and totalLength >= 2, so the
    // position only moves forward and the loop ends at the stream's end at the latest.
    position += child.totalLength;
    if (node.indefinite) {
      if (IsEndOfContents(child)) {
        node.totalLength = position - node.start;
        return 0;
      }
      node.children.push_back(std::move(child));
    } else {
      remaining = child.totalLength >= remaining ? 0 : remaining - child.totalLength;
      node.children.push_back(std::move(child));
    }
  }
}

}  // namespace

bool BerStream::ReadOctet(uint8_t& octet) {
  if (position_ >= size_) return false;
  octet = data_[position_++];
  return true;
}

bool BerStream::ReadAt(uint64_t position, uint64_t length, std::vector<uint8_t>& out) const {
  // Written so that nothing overflows whatever the two values are.
  if (position > size_ || length > size_ - position) return false;
  out.assign(data_ + position, data_ + position + length);
  return true;
}

uint32_t LoadNode(BerNode& node, BerStream& stream, int32_t depth) {
  uint64_t budget = stream.Size();
  return LoadNode(node, stream, depth, budget);
}

uint32_t LoadChildren(BerNode& node, BerStream& stream, int32_t depth) {
  uint64_t budget = stream.Size();
  return LoadChildren(node, stream, depth, budget);
}

uint32_t GetContents(const BerNode& node, const BerStream& stream, std::vector<uint8_t>& out) {
  // start + totalLength fits (LoadNode checked it), so neither sum below wraps.
  return stream.ReadAt(node.start + node.headerLength, node.totalLength - node.headerLength, out)
             ? 0
             : kErrorFileNotFound;
}

uint32_t GetEncoding(const BerNode& node, const BerStream& stream, std::vector<uint8_t>& out) {
  return stream.ReadAt(node.start, node.totalLength, out) ? 0 : kErrorFileNotFound;
}

}  // namespace tarn
