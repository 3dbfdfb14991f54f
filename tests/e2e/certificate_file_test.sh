#!/usr/bin/env bash
# The certificate file of "-certificatePath" end to end: the forms integrators write, and a file
# whose content changes while the tool reads it. For the latter the path is a pipe while the tool
# reads the certificate text, and the trusted certificate's file is renamed over the path before
# the pipe ends, so any later open of the path finds the trusted certificate. The text read is a
# certificate of the attacker's own (the service's names, an untrusted issuer, its own key) that
# signed both messages; the tool must judge that certificate and refuse.
#   tests/e2e/certificate_file_test.sh WINDOWS_BUILD_DIR
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" \
  "${1:?usage: certificate_file_test.sh WINDOWS_BUILD_DIR}" tarn-certificate-file-test

# Messages signed like the service's, by CERT's key and bound to CERT.
own_auth() {  # CERT
  python3 "$issuer" auth --cert "$pki/$1.cer" --key "$pki/$1.key" --valid-from 20250101000000Z \
    --valid-to 20351231235959Z --permission 19 --identifier "0:$hwid"
}
own_time() {  # CERT CHALLENGE
  python3 "$issuer" time --cert "$pki/$1.cer" --key "$pki/$1.key" --challenge "$2" \
    --execution-time 20260601120000Z
}

# One guarded run with the certificate path swapped under the tool: the pipe gives READ_TEXT,
# then LATER_FILE's content lies at the path.
swapped() {  # NAME EXPECTED_CODE LOG_LINE SIGNER READ_TEXT LATER_FILE
  local name=$1 expected=$2 line=$3 signer=$4 text=$5 later=$6 token
  : >"$dir/log.txt"
  rm -f "$dir/service.b64" "$dir/later.b64"
  token=$(own_auth "$signer")
  challenge_for "$token" || { failed=$((failed + 1)); echo "not ok - $name: no challenge"; return; }
  local time
  time=$(own_time "$signer" "$challenge")
  cp "$later" "$dir/later.b64"
  mkfifo "$dir/service.b64"
  # The writer's open waits for the tool's; the rename lands before the tool sees the pipe end.
  (
    exec 3>"$dir/service.b64"
    printf '%s' "$text" >&3
    mv -f "$dir/later.b64" "$dir/service.b64"
    exec 3>&-
  ) &
  local writer=$!
  tool -competitorsassessment -authToken "$token" -certificatePath "$win_dir\\service.b64" \
    -executionTime "$time"
  if [ -p "$dir/service.b64" ]; then  # the tool never opened it: release the writer
    echo "the path is still the pipe"
    cat "$dir/service.b64" >/dev/null
  fi
  wait "$writer"
  check "$name" "$expected" "$line"
  if [ "$expected" != 0 ] && log_has "$authorized"; then
    failed=$((failed + 1))
    echo "not ok - $name: authorized"
  fi
}

swapped "own certificate read, trusted one at the path after" 12 'Certificate is not valid' \
  auth-leaf-untrusted "$(cat "$pki/auth-leaf-untrusted.b64")" "$pki/auth-leaf.b64"
# The same path handling with the trusted certificate throughout: a legitimate run passes.
swapped "trusted certificate read, the same at the path after" 0 "$authorized" \
  auth-leaf "$leaf_text" "$pki/auth-leaf.b64"

# The file forms: Windows PowerShell 5's UTF-16 LE with a byte-order mark, and PEM, alone or
# together, pass; a PEM frame around no certificate fails as any file of no certificate does.
utf16() { printf '\xff\xfe'; python3 -c 'import sys; sys.stdout.buffer.write(sys.stdin.buffer.read().decode("ascii").encode("utf-16-le"))'; }
from_file() {  # NAME EXPECTED_CODE LOG_LINE (the file is $dir/service.b64)
  local token
  token=$(auth --permission 19 --identifier "0:$hwid")
  : >"$dir/log.txt"
  challenge_for "$token" || { failed=$((failed + 1)); echo "not ok - $1: no challenge"; return; }
  tool -competitorsassessment -authToken "$token" -certificatePath "$win_dir\\service.b64" \
    -executionTime "$(signed_time "$challenge" 20260601120000Z)"
  check "$@"
}
rm -f "$dir/service.b64"
printf '%s\r\n' "$leaf_text" | utf16 >"$dir/service.b64"
from_file "a file written by Windows PowerShell 5" 0 "$authorized"
cp "$pki/auth-leaf.pem" "$dir/service.b64"
from_file "a PEM file" 0 "$authorized"
utf16 <"$pki/auth-leaf.pem" >"$dir/service.b64"
from_file "a PEM file in UTF-16" 0 "$authorized"
printf -- '-----BEGIN CERTIFICATE-----\nTWFu\n-----END CERTIFICATE-----\n' >"$dir/service.b64"
from_file "a PEM frame around no certificate" 13 'Failed to decrypt certificate data. Error code: 13'

"$top/scripts/simagent.sh" remove >/dev/null 2>&1
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
