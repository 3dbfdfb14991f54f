#!/usr/bin/env bash
# The batch scripts of examples/ run by cmd.exe under Wine, beside the real tarn-rmm.exe, against
# the simulated agent switched through the states a monitor cares about. The authorization flow
# has its service side here: the test issuer signs the challenge the endpoint's step 1 printed.
#   tests/e2e/examples_test.sh WINDOWS_BUILD_DIR
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" \
  "${1:?usage: examples_test.sh WINDOWS_BUILD_DIR}" tarn-examples
cp "$top"/examples/*.cmd "$dir/"
rm -f "$dir/configfile.txt"

example() {  # SCRIPT ARGUMENTS...: runs it with cmd.exe; sets $code and $out
  rm -f "$work/code"
  out=$(WRUN_EXITFILE="Z:$work/code" "$top/tools/wine-exec.sh" 'C:\testbed\wrun.exe' \
        'C:\windows\system32\cmd.exe' /c "$win_dir\\$1" "${@:2}" 2>/dev/null | tr -d '\r')
  code=$(cat "$work/code" 2>/dev/null || echo none)
}
expect() {  # NAME EXPECTED_CODE EXPECTED_OUTPUT
  if [ "$code" = "$2" ] && [ "$out" = "$3" ]; then
    pass "$1"
  else
    fail "$1: exit $code, output \"$out\" (expected $2, \"$3\")"
  fi
}
scenario() { "$top/scripts/simagent.sh" scenario "$1" >/dev/null || echo "cannot switch to $1"; }

# The authorization flow: step 1 prints the challenge, the service signs it, step 2 runs.
auth --permission 19 --identifier "0:$hwid" >"$dir/token.txt"
cp "$pki/auth-leaf.b64" "$dir/certificate.txt"
example get-challenge.cmd "$win_dir\\token.txt"
if [[ $out =~ ^[0-9a-f]{64}$ ]] && [ "$code" = 0 ]; then
  # The test bed's Wine stops at the nonce key's deny entry: open it up (authorized_runs.sh).
  "$top/tools/wine-exec.sh" "$win_dir\\nonce-key.exe" >/dev/null 2>&1
  signed_time "$out" 20260601120000Z >"$dir/time.txt"
fi
expect "get-challenge prints a challenge" 0 \
  "$([[ $out =~ ^[0-9a-f]{64}$ ]] && echo "$out" || echo "64 hex digits")"
example run-authorized.cmd "$win_dir\\token.txt" "$win_dir\\certificate.txt" \
  "$win_dir\\time.txt" -competitorsassessment
expect "run-authorized assesses the competitors" 0 \
  'id=veltrano-av-12|productName=Veltrano Antivirus 12|removalSupported=1||id=quorix-is-2024|productName=Quorix Internet Security|removalSupported=0'
example run-authorized.cmd "$win_dir\\token.txt" "$win_dir\\certificate.txt" \
  "$win_dir\\time.txt" -competitorsassessment
expect "run-authorized with a spent challenge" 2 ""

# Monitor and scan per state; the slow ones (no answer) last.
while IFS='|' read -r state script arguments want_code want_out; do
  scenario "$state"
  # shellcheck disable=SC2086
  example "$script" $arguments
  expect "$script${arguments:+ $arguments} on $state" "$want_code" "$want_out"
done <<'CASES'
healthy|monitor.cmd||0|OK: the TARN agent is up to date, without critical issues
healthy|scan.cmd|quick 5000|0|OK: the quick scan started
restart-pending|monitor.cmd||1|WARNING: the TARN agent waits for a restart
outdated|monitor.cmd||1|WARNING: the TARN agent is not up to date
critical-issues|monitor.cmd||2|CRITICAL: critical issues: ProtectionDisabled|LicenseExpired
sdk-unavailable|monitor.cmd||3|UNKNOWN: tarn-rmm.exe -hascriticalissues failed with exit code 775
scan-failed|scan.cmd|full|1|FAILED: the agent reported that the full scan failed to start
unresponsive|monitor.cmd||3|UNKNOWN: the TARN agent did not answer -hascriticalissues in time (exit code 1460)
unresponsive|scan.cmd|quick 5000|3|UNKNOWN: no word from the agent about the quick scan within the wait
not-installed|monitor.cmd||2|CRITICAL: the TARN agent is not installed
CASES
scenario healthy

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
