#!/usr/bin/env bash
# The authorization gate end to end: the real tarn-rmm.exe under Wine, the simulated agent, the
# test PKI, and authorizations made by the test issuer (tools/auth-issuer), which encodes with
# OpenSSL (set up by authorized_runs.sh). Each case gets a fresh challenge from the tool, signs it
# like the service would, runs the guarded command and checks the exit code and the log.
#   tests/e2e/authorization_test.sh WINDOWS_BUILD_DIR [UNINSTALL_HOST]
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" \
  "${1:?usage: authorization_test.sh WINDOWS_BUILD_DIR [UNINSTALL_HOST]}" tarn-auth-test
uninstall_host=${2:-uninstall.arvantis.example}  # the build's TARN_UNINSTALL_HOST

# One guarded run: a fresh challenge for TOKEN, the time message, the command. Extra arguments
# replace parts: TIME_OPTIONS as issuer options, CERT_TEXT, COMMAND.
guarded() {  # NAME EXPECTED_CODE LOG_LINE TOKEN [WHEN] [CERT_TEXT] [COMMAND] [TIME OPTIONS...]
  local name=$1 expected=$2 line=$3 token=$4 when=${5:-20260601120000Z}
  local cert=${6:-$leaf_text} command=${7:--competitorsassessment}
  shift 7 2>/dev/null || shift $#
  : >"$dir/log.txt"
  challenge_for "$token" || { fail "$name: no challenge"; return; }
  local time
  time=$(signed_time "$challenge" "$when" "$@") || { fail "$name: no signed time"; return; }
  tool "$command" -authToken "$token" -certificate "$cert" -executionTime "$time"
  check "$name" "$expected" "$line"
}

# Options: which commands need them, and the checks on them.
: >"$dir/log.txt"; tool -getproductversion; check "a status command needs no options" 0
: >"$dir/log.txt"; tool -uninstall
check "uninstall without options takes the legacy route" 0 \
  'Command has legacy support. Authorization service will not be used'
tool -uninstall -authToken x; check "uninstall with only some options" 87
tool -uninstall -authToken a -certificate b -certificatePath c -executionTime d
check "both certificate forms" 87
tool -competitorsassessment -authToken a -AUTHTOKEN b; check "a repeated option, any case" 85
tool -competitorsassessment -certificate c -authToken; check "an option without a value" 87

# A valid authorization passes once (the assessment then runs against the healthy agent); its
# replay finds no nonce.
token=$(auth --permission 19 --identifier "0:$hwid")
guarded "a valid authorization passes the gate" 0 "$authorized" "$token"
time=$(signed_time "$challenge" 20260601120000Z)
: >"$dir/log.txt"
tool -competitorsassessment -authToken "$token" -certificate "$leaf_text" -executionTime "$time"
check "the same authorization replayed" 2 'Failed to read nonce value from registtry. Error code: 2'

# The signed messages and the certificate.
guarded "tampered authorization" 12 'Signature is not valid' "$(auth --permission 19 --break tamper)"
guarded "tampered signature" 12 'Signature is not valid' "$(auth --permission 19 --break signature)"
other_key=$(python3 "$issuer" auth --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf-rekeyed.key" \
  --valid-from 20250101000000Z --valid-to 20351231235959Z --permission 19)
guarded "signed by another key" 12 'Signature is not valid' "$other_key"
for leaf in other-ca wrong-subject; do
  token=$(python3 "$issuer" auth --cert "$pki/auth-leaf-$leaf.cer" --key "$pki/auth-leaf-$leaf.key" \
    --valid-from 20250101000000Z --valid-to 20351231235959Z --permission 19)
  guarded "certificate $leaf" 12 'Certificate information is not valid' "$token" \
    20260601120000Z "$(cat "$pki/auth-leaf-$leaf.b64")"
done
for leaf in expired untrusted; do
  token=$(python3 "$issuer" auth --cert "$pki/auth-leaf-$leaf.cer" --key "$pki/auth-leaf-$leaf.key" \
    --valid-from 20250101000000Z --valid-to 20351231235959Z --permission 19)
  guarded "certificate $leaf" 12 'Certificate is not valid' "$token" 20260601120000Z \
    "$(cat "$pki/auth-leaf-$leaf.b64")"
done
guarded "missing permission" 12 'Not all permissions are valid' "$(auth --permission 3)"
guarded "time message with a tampered signature" 12 'Failed to verify signature. Error code: 0' \
  "$(auth --permission 19)" 20260601120000Z "$leaf_text" -competitorsassessment --break signature

# Validity bounds: both ends accepted; outside them the challenge is spent all the same.
window() {
  python3 "$issuer" auth --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf.key" \
    --valid-from 20260101000000Z --valid-to 20261231235959Z --permission 19 --identifier "0:$hwid"
}
guarded "execution time at validFrom" 0 "$authorized" "$(window)" 20260101000000Z
guarded "execution time at validTo" 0 "$authorized" "$(window)" 20261231235959Z
guarded "execution time before validFrom" 12 'Validity expired' "$(window)" 20251231235959Z
tool -competitorsassessment -authToken "$(window)" -certificate "$leaf_text" \
  -executionTime "$(signed_time "$challenge" 20260601120000Z)"
check "a failed time check spends the challenge" 2
guarded "execution time after validTo" 12 'Validity expired' "$(window)" 20270101000000Z
guarded "a validity that never expires" 0 "$authorized" \
  "$(auth --permission 19 --identifier "0:$hwid" --valid-to 99991231235959Z)"
guarded "permission 19 plus 2^32" 18002 'Number out of range' \
  "$(auth --permission 4294967315 --identifier "0:$hwid")"

# The endpoint's identity.
guarded "another hardware id" 20 'Hardware Id not found' \
  "$(auth --permission 19 --identifier 0:0F3A9C2E-0000-0000-0000-000000000000)"
guarded "hardware id hash matched" 0 "$authorized" "$(auth --permission 19 --hardware-id-hash "$hwid")"
guarded "hardware id hash of another endpoint" 20 'SHA 256 Hardware Id not found' \
  "$(auth --permission 19 --hardware-id-hash OTHER-ENDPOINT)"

# The challenge.
: >"$dir/log.txt"
"$top/tools/wine-exec.sh" reg delete 'HKCU\Software\ArvantisAuthService' /f >/dev/null 2>&1
token=$(auth --permission 19)
tool -competitorsassessment -authToken "$token" -certificate "$leaf_text" \
  -executionTime "$(signed_time "$(printf '0%.0s' {1..64})" 20260601120000Z)"
check "no challenge asked for" 2 'Failed to read nonce value from registtry. Error code: 2'
challenge_for "$token" && first=$challenge && challenge_for "$token"
tool -competitorsassessment -authToken "$token" -certificate "$leaf_text" \
  -executionTime "$(signed_time "$first" 20260601120000Z)"
check "a second challenge invalidates the first" 12 'Challenge is not valid'

# Malformed input must be refused with its code, never crash.
guarded "truncated authorization" 2 'Failed to decode signed auth message. Error code: 2' \
  "$(auth --permission 19 --break truncate=5)"
guarded "length beyond the buffer" 2 'Failed to decode signed auth message' \
  "$(auth --permission 19 --break overlong)"
guarded "deep nesting" 3 'Failed to decode signed auth message. Error code: 3' \
  "$(auth --permission 19 --break deep=70)"
: >"$dir/log.txt"
challenge_for "not base64!" &&
  tool -competitorsassessment -authToken "not base64!" -certificate "$leaf_text" -executionTime AAAA
[ "$code" != 0 ] && [ "$code" != 12 ] && [ "$code" != 160 ] && log_has 'Failed to decrypt authToken data. Error code: ' &&
  pass "bad base64 (exit $code)" || fail "bad base64: exit $code"

# The certificate from a file.
token=$(auth --permission 19 --identifier "0:$hwid")
: >"$dir/log.txt"
challenge_for "$token"
cp "$pki/auth-leaf.b64" "$dir/service.b64"
tool -COMPETITORSASSESSMENT -AUTHTOKEN "$token" -CertificatePath 'C:\tarn-auth-test\service.b64' \
  -executionTime "$(signed_time "$challenge" 20260601120000Z)"
check "certificate from a file, options in capitals" 0 "$authorized"
tool -competitorsassessment -authToken "$token" -certificatePath 'C:\tarn-auth-test\absent.b64' \
  -executionTime x
check "certificate file missing" 110 'Cannot read certificate from the given path: C:\tarn-auth-test\absent.b64'

# Uninstall through the authorization service: the agent is asked to remove itself, only under
# a valid authorization for this endpoint with the uninstall permission.
journal="$PREFIX/drive_c/Program Files/Arvantis/TARN/sim/journal.jsonl"
removals() {  # the removal requests the agent received, one per line, as sent
  python3 -c 'import json,sys
for line in open(sys.argv[1], encoding="utf-8"):
    entry = json.loads(line)
    if entry.get("method") == "Product.Installer.InstallerRemove": print(entry["request"])' \
    "$journal" 2>/dev/null
}
expected_removal='{"type":"oxsdk","data":{"Product.Installer":[{"@name":"InstallerRemove","input":{"uninstall_link":"http://'"$uninstall_host"':8080/quellon/uninstall/11/00000000-0000-0000-0000-0019B91931E3","keepQuarantine":true,"rebootIfNeeded":true}}]}}'
check_removal() {  # NAME EXPECTED_OUTPUT EXPECTED_REQUESTS
  if [ "$out" = "$2" ] && [ "$(removals)" = "$3" ]; then
    pass "$1"
  else
    fail "$1: answer \"$out\", removal requests: $(removals)"
  fi
}
rm -f "$journal"
guarded "uninstall through the service" 0 'Starting uninstall with authorization service' \
  "$(auth --permission 3 --identifier "0:$hwid")" 20260601120000Z "$leaf_text" -uninstall
check_removal "the agent is asked to remove itself, byte for byte" \
  "0|||$hwid|C-000451|Workstations" "$expected_removal"
rm -f "$journal"
guarded "uninstall without its permission" 12 'Not all permissions are valid' \
  "$(auth --permission 19 --identifier "0:$hwid")" 20260601120000Z "$leaf_text" -uninstall
check_removal "no removal without the permission" "" ""
guarded "uninstall for another endpoint" 20 'Hardware Id not found' \
  "$(auth --permission 3 --identifier 0:0F3A9C2E-0000-0000-0000-000000000000)" 20260601120000Z \
  "$leaf_text" -uninstall
check_removal "no removal for another endpoint" "" ""
: >"$dir/log.txt"
tool -uninstall -authToken x -certificate y
check "uninstall with some options only" 87
check_removal "no removal with options missing" "" ""
: >"$dir/log.txt"
token=$(auth --permission 3 --identifier "0:$hwid")
challenge_for "$token"
tool -uninstall "password" -authToken "$token" -certificate "$leaf_text" \
  -executionTime "$(signed_time "$challenge" 20260601120000Z)"
check "an argument besides the options" 160 "$authorized"
log_has 'Starting uninstall' && fail "it is not logged"
check_removal "nothing printed, nothing asked" "" ""

"$top/scripts/simagent.sh" remove >/dev/null 2>&1
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
