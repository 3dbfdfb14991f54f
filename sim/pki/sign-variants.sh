#!/usr/bin/env bash
# sign-variants.sh PKIDIR OUTROOT FILE...: writes every FILE (a DLL or EXE) in each signed variant
# to OUTROOT/<variant>/<file name>, using the test PKI in PKIDIR (make-pki.sh) and the test bed's
# signing command (testbed/testbed.sh sign). The variants:
#   timestamped       "Arvantis SRL", RFC 3161 time stamp
#   legacy-timestamp  "Arvantis SRL", legacy Authenticode time stamp
#   untimestamped     "Arvantis SRL", no time stamp
#   foreign           another signer's name, RFC 3161 time stamp
#   capitals          "ARVANTIS SRL", RFC 3161 time stamp
#   untrusted         "Arvantis SRL" under a root the test prefix does not trust, RFC 3161
#   tampered          the timestamped file with one byte changed after signing
#   unsigned          the file as built
# and for sample.dll alone, whose only use is to check the test bed's own answers:
#   timestamp-broken          the timestamped file with its TSA's signature broken
#   legacy-timestamp-broken   the legacy-timestamp file with its TSA's signature broken
#   revoked                   "Arvantis SRL", RFC 3161, by a signer its root's list revokes
set -euo pipefail
[ $# -ge 3 ] || { echo "usage: sign-variants.sh PKIDIR OUTROOT FILE..." >&2; exit 2; }
pki=$1 outroot=$2
shift 2
testbed=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/testbed/testbed.sh

# The time-stamping server that the test bed starts on first use is stopped again at the end, so
# a build leaves nothing running.
export TARN_TSA_CERT=$pki/cs-tsa-chain.pem TARN_TSA_KEY=$pki/cs-tsa.key
trap '"$testbed" tsa-stop' EXIT

variants=(timestamped legacy-timestamp untimestamped foreign capitals untrusted tampered unsigned)
for v in "${variants[@]}" timestamp-broken legacy-timestamp-broken revoked; do mkdir -p "$outroot/$v"; done

# FILE OFFSET: inverts one byte in place.
flip() {
  local b
  b=$(od -An -tu1 -j "$2" -N1 "$1")
  printf "$(printf '\\%03o' $((255 - b)))" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

for file in "$@"; do
  name=$(basename "$file")
  sign() {  # VARIANT SIGNER TIMESTAMP
    "$testbed" sign "$file" "$outroot/$1/$name" "$pki/$2-chain.pem" "$pki/$2.key" "$3"
  }
  sign timestamped cs-signer rfc3161
  sign legacy-timestamp cs-signer legacy
  sign untimestamped cs-signer none
  sign foreign cs-foreign rfc3161
  sign capitals cs-capitals rfc3161
  sign untrusted cs-untrusted-signer rfc3161
  # Offset 80 lies in the DOS stub, which the Authenticode digest covers.
  cp "$outroot/timestamped/$name" "$outroot/tampered/$name"
  flip "$outroot/tampered/$name" 80
  cp "$file" "$outroot/unsigned/$name"
  if [ "$name" = sample.dll ]; then
    sign revoked cs-signer-revoked rfc3161
    # The TSA's 256-byte RSA signature ends the signature block, and the block's padding is at
    # most 7 bytes: 64 bytes before the end of the file is inside that signature.
    for pair in timestamped:timestamp-broken legacy-timestamp:legacy-timestamp-broken; do
      broken=$outroot/${pair#*:}/$name
      cp "$outroot/${pair%%:*}/$name" "$broken"
      flip "$broken" $(($(stat -c %s "$broken") - 64))
    done
  fi
done
