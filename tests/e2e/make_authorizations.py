#!/usr/bin/env python3
"""Writes the authorizations the guarded end-to-end tests present, issued with the test PKI.

Usage: make_authorizations.py PKI_DIR OUTPUT_HEADER

Each grant is an authorization for the simulated agent's endpoint with one set of permissions,
and a signed time message whose challenge binds it to NONCE. A test stores NONCE as the
challenge's nonce before each guarded run, so no "-getchallenge" is needed first.
"""

import base64
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                "..", "..", "tools", "auth-issuer"))
import auth_issuer  # noqa: E402

NONCE = bytes(range(0xA0, 0xB0))
HARDWARE_ID = "0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30"  # the simulated agent's endpoint
GRANTS = [("kAssessmentGrant", [19]), ("kRemovalGrant", [20])]


def main(pki, output):
    cert_path = os.path.join(pki, "auth-leaf.cer")
    key_path = os.path.join(pki, "auth-leaf.key")
    cert = auth_issuer.certificate_der(cert_path)
    lines = ["// Issued by tests/e2e/make_authorizations.py at build time; not edited.",
             "#pragma once", "", "#include <cstdint>", "#include <vector>", "",
             "namespace tarn::e2e {", "",
             "struct Grant {", "  const wchar_t* authToken;", "  const wchar_t* executionTime;",
             "};", ""]
    lines.append("inline const std::vector<uint8_t> kGrantNonce = {%s};" %
                 ", ".join(str(b) for b in NONCE))
    lines.append('inline constexpr const wchar_t* kGrantCertificate = L"%s";' %
                 base64.b64encode(cert).decode())
    for name, permissions in GRANTS:
        token = base64.b64encode(auth_issuer.auth_message(
            cert, key_path, "20250101000000Z", "20351231235959Z", permissions,
            [(0, HARDWARE_ID)])).decode()
        time = base64.b64encode(auth_issuer.time_message(
            cert, key_path, auth_issuer.challenge(NONCE, token).encode(),
            "20260601120000Z")).decode()
        lines.append('inline constexpr Grant %s{L"%s",\n    L"%s"};' % (name, token, time))
    lines += ["", "}  // namespace tarn::e2e", ""]
    os.makedirs(os.path.dirname(os.path.abspath(output)), exist_ok=True)
    with open(output + ".tmp", "w") as f:
        f.write("\n".join(lines))
    os.replace(output + ".tmp", output)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2])
