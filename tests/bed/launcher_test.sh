#!/usr/bin/env bash
# The test bed's launcher (wrun.exe) in the test prefix: Wine hands a Linux parent only the low
# 8 bits of an exit code, wrun reports the whole code and passes standard output through byte for
# byte. The demo and the shell end-to-end tests read every exit code this way.
set -uo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
wine_exec() { "$top/tools/wine-exec.sh" "$@" </dev/null 2>/dev/null; }
wrun() { WRUN_EXITFILE="Z:$work/code" wine_exec 'C:\testbed\wrun.exe' "$@"; }

failed=0
fail() { echo "FAIL: $*"; failed=1; }

# cmd's exit takes a signed 32-bit number: -2146762487 is 0x800B0109 (CERT_E_UNTRUSTEDROOT).
# ARGUMENT  FULL CODE  STATUS ON LINUX (wrun: the low byte, or 1 if that is 0 but the code not)
while read -r argument code status; do
  rm -f "$work/code"
  wrun cmd /c exit "$argument" >/dev/null
  got_status=$?
  got_code=$(cat "$work/code" 2>/dev/null || echo none)
  [ "$got_code" = "$code" ] && [ "$got_status" = "$status" ] ||
    fail "exit $argument: code $got_code, status $got_status (expected $code, $status)"
done <<'CASES'
0 0 0
16010 16010 138
256 256 1
-2146762487 2148204809 9
CASES

# The cut itself: without the launcher 16010 arrives as 138.
wine_exec cmd /c exit 16010
status=$?
[ "$status" = 138 ] || fail "Wine passes on 16010 as $status, not 138: revisit the launcher"

out=$(wrun cmd /c echo hello | od -An -c | tr -s ' ')
[ "$out" = " h e l l o \r \n" ] || fail "standard output through wrun: $out"

[ $failed = 0 ] && echo "launcher: full exit codes and byte-exact output"
exit $failed
