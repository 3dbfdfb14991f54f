#!/usr/bin/env bash
# A certificate file whose content changes while the tool reads it: the path is a pipe while the
# tool reads the certificate text, and the trusted certificate's file is renamed over the path
# before the pipe ends, so any later open of the path finds the trusted certificate. The text
# read is a certificate of the attacker's own (the service's names, an untrusted issuer, its own
# key) that signed both messages; the tool must judge that certificate and refuse.
#   tests/e2e/certificate_swap_test.sh WINDOWS_BUILD_DIR
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" \
  "${1:?usage: certificate_swap_test.sh WINDOWS_BUILD_DIR}" tarn-certificate-swap-test

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
  challenge_for "$token" || { fail "$name: no challenge"; return; }
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
    fail "$name: authorized"
  fi
}

swapped "own certificate read, trusted one at the path after" 12 'Certificate is not valid' \
  auth-leaf-untrusted "$(cat "$pki/auth-leaf-untrusted.b64")" "$pki/auth-leaf.b64"
# The same path handling with the trusted certificate throughout: a legitimate run passes.
swapped "trusted certificate read, the same at the path after" 0 "$authorized" \
  auth-leaf "$leaf_text" "$pki/auth-leaf.b64"

"$top/scripts/simagent.sh" remove >/dev/null 2>&1
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
