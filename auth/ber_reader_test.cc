#include "auth/ber_reader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace tarn {
namespace {

std::vector<uint8_t> Hex(const std::string& text) {
  std::vector<uint8_t> bytes;
  std::istringstream in(text);
  unsigned octet = 0;
  while (in >> std::hex >> octet) bytes.push_back(static_cast<uint8_t>(octet));
  return bytes;
}

std::string Repeat(const std::string& part, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += part + " ";
  return text;
}

// "U16* 2/8 [U2 2/3, U2 2/3]": class letter, tag, * constructed, ~ indefinite, header length /
// total length, then the children.
std::string Describe(const BerNode& node) {
  std::ostringstream out;
  out << "UACP"[node.tagClass >> 6] << int(node.tag) << (node.constructed ? "*" : "")
      << (node.indefinite ? "~" : "") << " " << int(node.headerLength) << "/" << node.totalLength;
  if (!node.children.empty()) {
    out << " [";
    for (size_t i = 0; i < node.children.size(); ++i) {
      out << (i ? ", " : "") << Describe(node.children[i]);
    }
    out << "]";
  }
  return out.str();
}

TEST(BerReaderTest, LoadsHeadersAndChildrenAsDepthAllows) {
  const std::string deep64 = Repeat("30 80", 64) + Repeat("00 00", 64);
  const std::string deep65 = Repeat("30 80", 65) + Repeat("00 00", 65);
  // Each "30 06" holds two "30 02" that overrun into the next "30 06": 2^(depth/2) nodes.
  const std::string overruns = Repeat("30 06 30 02", 40) + Repeat("00", 8);
  struct Case {
    const char* name;
    std::string bytes;
    int32_t depth;
    uint32_t result;
    std::string tree;  // also checked after a failure: what stayed loaded
  } cases[] = {
      {"short form", "04 03 61 62 63", 0, 0, "U4 2/5"},
      {"long form", "30 81 03 02 01 05", 1, 0, "U16* 3/6 [U2 2/3]"},
      {"long form, leading zero octets", "04 8a 00 00 00 00 00 00 00 00 00 01 41", 0, 0,
       "U4 12/13"},
      {"tag 31 reads no further octets", "1f 01 00", 0, 0, "U31 2/3"},
      {"context class, constructed", "a3 00", 1, 0, "C3* 2/2"},
      {"depth 0 keeps the children unloaded", "30 06 02 01 01 02 01 02", 0, 0, "U16* 2/8"},
      {"depth 1 loads one level", "30 05 30 03 02 01 07", 1, 0, "U16* 2/7 [U16* 2/5]"},
      {"depth 2 loads two levels", "30 05 30 03 02 01 07", 2, 0, "U16* 2/7 [U16* 2/5 [U2 2/3]]"},
      {"primitive never has children", "10 03 02 01 07", 3, 0, "U16 2/5"},
      {"children fill the length", "30 06 02 01 01 02 01 02", 1, 0, "U16* 2/8 [U2 2/3, U2 2/3]"},
      {"last child overruns the length", "30 04 02 01 01 02 01 02", 1, 0,
       "U16* 2/6 [U2 2/3, U2 2/3]"},
      {"empty constructed", "30 00", 1, 0, "U16* 2/2"},
      {"indefinite, even at depth 0", "30 80 02 01 05 00 00", 0, 0, "U16*~ 2/7 [U2 2/3]"},
      {"indefinite inside indefinite, then one more octet", "30 80 30 80 02 01 05 00 00 00 00 ff",
       0, 0, "U16*~ 2/11 [U16*~ 2/7 [U2 2/3]]"},
      {"end-of-contents is exactly 00 00", "30 80 00 81 00 80 00 00 00", 0, 0,
       "U16*~ 2/9 [U0 3/3, C0 2/2]"},
      {"0x80 is indefinite, not a zero-octet length", "04 80 00 00", 0, 0, "U4~ 2/4"},
      {"nothing", "", 0, 2, "U0 0/0"},
      {"no length octet", "30", 0, 2, "U16* 0/0"},
      {"long form cut short", "04 82 01", 0, 2, "U4 4/0"},
      {"contents past the buffer are not read yet", "04 05 61", 0, 0, "U4 2/7"},
      {"indefinite without end-of-contents", "30 80 02 01 05", 0, 2, "U16*~ 2/2 [U2 2/3]"},
      {"children run past the buffer, loaded ones stay", "30 05 02 01 01", 1, 2,
       "U16* 2/7 [U2 2/3]"},
      {"child's own children fail", "30 06 02 01 01 30 80 05", 1, 2, "U16* 2/8 [U2 2/3]"},
      {"length of more than 64 bits", "04 89 01 00 00 00 00 00 00 00 00", 0, 2, "U4 11/0"},
      {"header plus length past 64 bits", "04 88 ff ff ff ff ff ff ff ff", 0, 2, "U4 10/0"},
      {"largest length that fits", "04 88 ff ff ff ff ff ff ff f5", 0, 0,
       "U4 10/18446744073709551615"},
      {"huge length", "04 88 7f ff ff ff ff ff ff ff", 0, 0, "U4 10/9223372036854775817"},
      {"huge child length ends the parent's loop", "30 0c 04 88 7f ff ff ff ff ff ff ff", 1, 0,
       "U16* 2/14 [U4 10/9223372036854775817]"},
      {"overruns reading the same octets as ever more nodes", overruns, 64, 2, ""},
      {"the same, two levels", overruns, 2, 0,
       "U16* 2/8 [U16* 2/4 [U16* 2/8], U16* 2/4 [U16* 2/8]]"},
      {"64 nested indefinite levels", deep64, 0, 0, ""},
      {"65 nested indefinite levels", deep65, 0, 3, ""},
      {"depth 64", "30 00", 64, 0, "U16* 2/2"},
      {"depth -64", "30 00", -64, 0, "U16* 2/2"},
      {"depth 65", "30 00", 65, 3, "U0 0/0"},
      {"depth -65", "30 00", -65, 3, "U0 0/0"},
      {"indefinite at -64 cannot load its children", "30 80 00 00", -64, 3, "U16*~ 2/2"},
  };
  for (const auto& c : cases) {
    const std::vector<uint8_t> bytes = Hex(c.bytes);
    BerStream stream(bytes);
    BerNode node;
    EXPECT_EQ(LoadNode(node, stream, c.depth), c.result) << c.name;
    if (!c.tree.empty()) {
      EXPECT_EQ(Describe(node), c.tree) << c.name;
    }
    if (c.result != 0) continue;
    // A loaded node's encoding and contents read back exactly when it lies inside the bytes;
    // else 2, with the output as it was.
    const bool inside = node.totalLength <= bytes.size();
    const std::vector<uint8_t> untouched = {7};
    std::vector<uint8_t> encoding = untouched, contents = untouched;
    EXPECT_EQ(GetEncoding(node, stream, encoding), inside ? 0u : kErrorFileNotFound) << c.name;
    EXPECT_EQ(GetContents(node, stream, contents), inside ? 0u : kErrorFileNotFound) << c.name;
    const auto end = bytes.begin() + (inside ? node.totalLength : 0);
    EXPECT_EQ(encoding, inside ? std::vector<uint8_t>(bytes.begin(), end) : untouched) << c.name;
    EXPECT_EQ(contents,
              inside ? std::vector<uint8_t>(bytes.begin() + node.headerLength, end) : untouched)
        << c.name;
  }
}

TEST(BerReaderTest, RootThenOneLevelAtATime) {
  // An indefinite root loads its own level at once (and never twice) and ends at its
  // end-of-contents octets; the trailing octet is not the root's.
  const std::vector<uint8_t> bytes = Hex("30 80 30 03 02 01 07 04 01 41 00 00 ff");
  BerStream stream(bytes);
  BerNode root;
  ASSERT_EQ(LoadNode(root, stream, 0), 0u);
  ASSERT_EQ(LoadChildren(root, stream, 1), 0u);
  ASSERT_EQ(GetChildrenCount(root), 2u);
  EXPECT_TRUE(root.complete);
  EXPECT_EQ(GetChild(root, 2), nullptr);
  BerNode& first = *GetChild(root, 0);
  EXPECT_EQ(GetChildrenCount(first), 0u);
  ASSERT_EQ(LoadChildren(first, stream, 1), 0u);
  EXPECT_EQ(Describe(root), "U16*~ 2/12 [U16* 2/5 [U2 2/3], U4 2/3]");

  std::vector<uint8_t> out;
  ASSERT_EQ(GetEncoding(first, stream, out), 0u);
  EXPECT_EQ(out, Hex("30 03 02 01 07"));
  ASSERT_EQ(GetContents(*GetChild(root, 1), stream, out), 0u);
  EXPECT_EQ(out, Hex("41"));

  ReleaseNode(root);
  EXPECT_EQ(GetChildrenCount(root), 0u);
  EXPECT_EQ(root.totalLength, 12u);
}

}  // namespace
}  // namespace tarn
