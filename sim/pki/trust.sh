#!/usr/bin/env bash
# trust.sh PREFIX PKIDIR: makes the Wine prefix PREFIX trust the test PKI in PKIDIR (make-pki.sh)
# as a machine with the maker's software would: the code-signing root and the authorization
# service's root are the only roots added to LocalMachine "Root"; the two issuing CAs of the
# authorization leaves go to LocalMachine "CA" (intermediate CAs), where Windows keeps the
# intermediates it has met, so that a leaf alone builds its whole chain. The untrusted roots
# stay out, and what an earlier PKI of the same build added is taken out again, so a
# regenerated PKI leaves no stale trust behind. Idempotent; quiet on success.
set -euo pipefail
prefix=${1:?usage: trust.sh PREFIX PKIDIR}
pki=${2:?usage: trust.sh PREFIX PKIDIR}
testbed=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/testbed/testbed.sh

roots=(cs-root auth-root)
intermediates=(auth-ca auth-other-ca)
never=(cs-untrusted-root auth-untrusted-root auth-untrusted-ca)
record=$prefix/.tarn-pki-trust  # "STORE THUMBPRINT" lines of what this script added

thumbprint() { openssl x509 -in "$pki/$1.pem" -noout -fingerprint -sha1 | sed 's/.*=//;s/://g'; }
store_key() { echo "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\SystemCertificates\\$1\\Certificates\\$2"; }
# Little-endian 32-bit number as registry hex bytes.
le32() { printf '%02x,%02x,%02x,%02x' $(($1 & 255)) $(($1 >> 8 & 255)) $(($1 >> 16 & 255)) $(($1 >> 24)); }

for r in "${roots[@]}"; do "$testbed" trust-root "$prefix" "$pki/$r.pem"; done

declare -A wanted=()
for r in "${roots[@]}"; do wanted["Root $(thumbprint "$r")"]=1; done
for c in "${intermediates[@]}"; do wanted["CA $(thumbprint "$c")"]=1; done

reg=$prefix/drive_c/tarn-pki-trust.reg
{
  printf 'Windows Registry Editor Version 5.00\r\n\r\n'
  # Taken out: the never-trusted certificates, and whatever an earlier PKI added.
  stale=()
  for n in "${never[@]}"; do stale+=("Root $(thumbprint "$n")" "CA $(thumbprint "$n")"); done
  if [ -f "$record" ]; then mapfile -t -O ${#stale[@]} stale <"$record"; fi
  for entry in "${stale[@]}"; do
    [ -n "${wanted[$entry]:-}" ] || printf '[-%s]\r\n\r\n' "$(store_key $entry)"
  done
  # An intermediate is a serialized certificate element: property 0x20 (the encoded
  # certificate), encoding type 1 (X.509 ASN.1), its length, then the DER bytes.
  for c in "${intermediates[@]}"; do
    der=$pki/$c.cer
    printf '[%s]\r\n' "$(store_key CA "$(thumbprint "$c")")"
    printf '"Blob"=hex:20,00,00,00,01,00,00,00,%s,%s\r\n\r\n' "$(le32 "$(stat -c %s "$der")")" \
      "$(od -An -v -tx1 "$der" | tr -s ' \n' ',' | sed 's/^,//;s/,$//')"
  done
} >"$reg"

export WINEPREFIX=$prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
unset DISPLAY WAYLAND_DISPLAY
# stdio away from the caller: a wineserver started here would keep its pipes open.
if ! wine reg import 'C:\tarn-pki-trust.reg' </dev/null >"$reg.log" 2>&1; then
  cat "$reg.log" >&2
  echo "trust.sh: cannot import $reg" >&2
  exit 1
fi
rm -f "$reg" "$reg.log"
printf '%s\n' "${!wanted[@]}" | sort >"$record"
