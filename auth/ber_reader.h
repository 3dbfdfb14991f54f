// A reader for ASN.1 BER data held in memory: a node's header is loaded first, its children one
// level at a time on request, and a node's contents or complete encoding are read back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/result_codes.h"

namespace tarn {

inline constexpr int32_t kBerMinDepth = -64;
inline constexpr int32_t kBerMaxDepth = 64;

// A seekable stream over bytes the caller keeps alive; positions are absolute. Seeking past the
// end is allowed, reading there fails.
class BerStream {
 public:
  BerStream(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  explicit BerStream(const std::vector<uint8_t>& bytes) : BerStream(bytes.data(), bytes.size()) {}
  explicit BerStream(std::vector<uint8_t>&&) = delete;  // the stream does not own its bytes

  uint64_t Position() const { return position_; }
  uint64_t Size() const { return size_; }
  void Seek(uint64_t position) { position_ = position; }
  // Reads one octet and advances; false at the end.
  bool ReadOctet(uint8_t& octet);
  // Copies `length` octets from `position` into `out`; false (and `out` untouched) when any of
  // them lies past the end.
  bool ReadAt(uint64_t position, uint64_t length, std::vector<uint8_t>& out) const;

 private:
  const uint8_t* data_;
  uint64_t size_;
  uint64_t position_ = 0;
};

struct BerNode {
  std::vector<BerNode> children;  // owned; a node's children go with it
  uint8_t tag = 0;                // low five bits of the identifier octet; 31 is kept as is
  uint8_t tagClass = 0;           // 0x00, 0x40, 0x80 or 0xC0, kept in place
  bool constructed = false;
  uint8_t headerLength = 0;  // 2, or 2 + n for a long-form length of n octets
  bool indefinite = false;
  bool complete = false;
  uint64_t totalLength = 0;  // header plus contents
  uint64_t start = 0;        // position of the identifier octet
};

// Reads the header at the stream's position and, as `depth` allows, the children: a constructed
// node loads its children while depth >= 1, an indefinite node always (it has no length without
// them). A read past the stream fails with 2 (kErrorFileNotFound), a depth outside
// kBerMinDepth..kBerMaxDepth with 3 (kErrorMalformed).
//
// A length whose value, added to the header and to the node's start, does not fit in 64 bits
// describes a node ending beyond any stream: it fails with 2 at once. Any smaller length is
// accepted here even when it runs past the buffer; reading such a node's children, contents or
// encoding then fails with 2.
//
// One call loads at most as many nodes as the stream has octets and fails with 2 beyond that (so
// does LoadChildren): only children that overrun their parents, reading the same octets as
// several nodes, get there.
/// Returns 0, 2 or 3; on failure `node` holds what was read up to the fault.
[[nodiscard]] uint32_t LoadNode(BerNode& node, BerStream& stream, int32_t depth);

// Loads the node's direct children with depth - 1 (depth 1 loads exactly one level). Children
// loaded before are replaced, so an indefinite node, whose children come with its header, can be
// loaded again without doubling them.
/// Returns 0, 2 or 3 as LoadNode; a failing child is dropped, the children before it stay.
[[nodiscard]] uint32_t LoadChildren(BerNode& node, BerStream& stream, int32_t depth);

/// The contents octets; 2 (and `out` untouched) when they run past the stream.
[[nodiscard]] uint32_t GetContents(const BerNode& node, const BerStream& stream,
                                   std::vector<uint8_t>& out);

/// Identifier, length and contents octets; 2 (and `out` untouched) past the stream.
[[nodiscard]] uint32_t GetEncoding(const BerNode& node, const BerStream& stream,
                                   std::vector<uint8_t>& out);

inline size_t GetChildrenCount(const BerNode& node) { return node.children.size(); }
// Null when there is no child `index`.
inline const BerNode* GetChild(const BerNode& node, size_t index) {
  return index < node.children.size() ? &node.children[index] : nullptr;
}
inline BerNode* GetChild(BerNode& node, size_t index) {
  return index < node.children.size() ? &node.children[index] : nullptr;
}
// Frees the children (recursively, with them); the node's header fields stay.
inline void ReleaseNode(BerNode& node) { node.children.clear(); }

}  // namespace tarn
