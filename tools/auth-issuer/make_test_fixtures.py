#!/usr/bin/env python3
"""Writes a C++ header of issued messages for the decoder unit tests, signed with a throwaway key.

Usage: make_test_fixtures.py OUTPUT_HEADER. The fields of each message are listed below; the
tests assert them.
"""

import os
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import auth_issuer  # noqa: E402

NONCE = bytes(range(16))
AUTH_TOKEN_TEXT = "MIIBfixture"


def fixtures(cert, key):
    auth = auth_issuer.auth_message(
        cert, key, "20250101000000Z", "20250102000000Z", [3, 21],
        [(0, "HW-ONE"), (1, auth_issuer.hardware_id_hash("HW-ONE"))])
    merged = auth_issuer.auth_message(
        cert, key, "20250101000000Z", "20250102000000Z", [22, 4294967295, 21],
        [(0, "B"), (0, "A"), (1, None), (7, "x"), (0, "A")])
    empty = auth_issuer.auth_message(cert, key, "20250101000000Z", "20250102000000Z", [], [])
    time = auth_issuer.time_message(
        cert, key, auth_issuer.challenge(NONCE, AUTH_TOKEN_TEXT).encode(), "20250101120000Z")
    brk = auth_issuer.apply_break
    return [
        ("kAuthMessage", auth),
        ("kAuthMerged", merged),
        ("kAuthEmptySets", empty),
        ("kAuthIndefinite", brk(auth, "indefinite")),
        ("kAuthTruncated", brk(auth, "truncate")),
        ("kAuthOverlong", brk(auth, "overlong")),
        ("kAuthDeep64", brk(auth, "deep", 64)),
        ("kAuthDeep65", brk(auth, "deep", 65)),
        ("kTimeMessage", time),
        ("kTimeIndefinite", brk(time, "indefinite")),
        ("kTimeTruncated", brk(time, "truncate", 40)),
    ]


def main(output):
    with tempfile.TemporaryDirectory() as tmp:
        cert_path, key = auth_issuer.make_keypair(tmp, "auth.arvantis.example")
        items = fixtures(auth_issuer.certificate_der(cert_path), key)
    lines = ["// Issued by tools/auth-issuer/make_test_fixtures.py at build time; not edited.",
             "#pragma once", "", "#include <cstdint>", "#include <vector>", "",
             "namespace tarn::issued {", ""]
    lines.append('inline constexpr const char* kAuthTokenText = "%s";' % AUTH_TOKEN_TEXT)
    lines.append("inline const std::vector<uint8_t> kNonce = {%s};" %
                 ", ".join(str(b) for b in NONCE))
    lines.append('inline constexpr const char* kChallengeText = "%s";' %
                 auth_issuer.challenge(NONCE, AUTH_TOKEN_TEXT))
    lines.append('inline constexpr const char* kHardwareIdHash = "%s";' %
                 auth_issuer.hardware_id_hash("HW-ONE"))
    for name, data in items:
        body = ",".join("0x%02x" % b for b in data)
        lines.append("inline const std::vector<uint8_t> %s = {%s};" % (name, body))
    lines += ["", "}  // namespace tarn::issued", ""]
    os.makedirs(os.path.dirname(os.path.abspath(output)), exist_ok=True)
    with open(output + ".tmp", "w") as f:
        f.write("\n".join(lines))
    os.replace(output + ".tmp", output)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
