// For tests: BER made by hand, with definite lengths, for messages that no issuer would sign.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::test_ber {

using Bytes = std::vector<uint8_t>;

inline Bytes Tlv(uint8_t identifier, const std::vector<Bytes>& parts) {
  Bytes contents;
  for (const Bytes& part : parts) contents.insert(contents.end(), part.begin(), part.end());
  Bytes out = {identifier};
  if (contents.size() >= 0x80) {
    out.push_back(0x82);
    out.push_back(static_cast<uint8_t>(contents.size() >> 8));
  }
  out.push_back(static_cast<uint8_t>(contents.size()));
  out.insert(out.end(), contents.begin(), contents.end());
  return out;
}
inline Bytes Text(uint8_t identifier, const std::string& text) {
  return Tlv(identifier, {Bytes(text.begin(), text.end())});
}
inline Bytes Seq(const std::vector<Bytes>& parts) { return Tlv(0x30, parts); }
inline Bytes Set(const std::vector<Bytes>& parts) { return Tlv(0x31, parts); }
inline Bytes Enum(uint8_t value) { return Tlv(0x0a, {{value}}); }
inline Bytes GeneralizedTime(const std::string& text) { return Text(0x18, text); }

// The signed authorization message and the signed time message around their parts.
inline Bytes Auth(const Bytes& validity, const Bytes& permissions, const Bytes& identifiers,
                  const Bytes& signature = Text(0x04, "sig")) {
  return Seq({Seq({validity, permissions, identifiers}), signature});
}
inline Bytes Time(const Bytes& challenge, const Bytes& time,
                  const Bytes& signature = Text(0x04, "sig")) {
  return Seq({Seq({challenge, time}), signature});
}

}  // namespace tarn::test_ber
