#!/usr/bin/env bash
# The challenge flow on an endpoint whose ANSI code page is double-byte: the nonce passes through
# the registry's ANSI calls, which convert it through that code page and back. Under Wine the
# code page follows the process's locale (ja_JP.UTF-8 gives 932); a private copy of that glibc
# locale stands in when the system has none generated.
#   tests/e2e/code_page_test.sh WINDOWS_BUILD_DIR
set -uo pipefail
build_dir=$(cd "${1:?usage: code_page_test.sh WINDOWS_BUILD_DIR}" && pwd)
if ! locale -a 2>/dev/null | grep -qix 'ja_JP.utf8'; then
  export LOCPATH=$build_dir/locale
  mkdir -p "$LOCPATH"
  [ -f "$LOCPATH/ja_JP.UTF-8/LC_CTYPE" ] ||
    localedef -i ja_JP -f UTF-8 "$LOCPATH/ja_JP.UTF-8" >/dev/null 2>&1 || true  # warnings give 1
  [ -f "$LOCPATH/ja_JP.UTF-8/LC_CTYPE" ] ||
    { echo "cannot make the locale ja_JP.UTF-8 (package locales)"; exit 1; }
fi
export LC_ALL=ja_JP.UTF-8
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" "$build_dir" tarn-code-page-test

page=$("$top/tools/wine-exec.sh" "$build/code-page.exe" 2>/dev/null)
[ "$page" = 932 ] || { echo "not ok - the prefix runs with code page ${page:-unknown}, not 932"; exit 1; }

# Each challenge draws a new nonce: several rounds, so raw bytes that happen to survive the
# conversion once cannot make the flow pass.
for round in 1 2 3 4 5 6 7 8; do
  token=$(auth --permission 19 --identifier "0:$hwid")
  : >"$dir/log.txt"
  if challenge_for "$token"; then
    time=$(signed_time "$challenge" 20260601120000Z)
    tool -competitorsassessment -authToken "$token" -certificate "$leaf_text" -executionTime "$time"
    check "round $round: challenge, signed time and guarded run on code page 932" 0 "$authorized"
  else
    fail "round $round: no challenge"
  fi
done

"$top/scripts/simagent.sh" remove >/dev/null 2>&1
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
