#!/usr/bin/env bash
# Runs every test: native unit tests, the same under ASan+UBSan and under TSan, the Windows unit
# and end-to-end tests under Wine, the release's reproducibility, and a smoke run of the fuzz
# targets. Ends with one "N passed, M failed" line.
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/testbed.sh"

testbed_up || exit 1
trap testbed_down EXIT

# What failed, repeated just above the last line: CI keeps only the end of the output.
passed=0 failed=0 status=0 recap=()
for tree in native asan tsan windows; do
  echo "== $tree tests"
  log=$top/build/$tree/ctest.log
  (cd "$top/build/$tree" && ctest --output-on-failure -j "${JOBS:-$(nproc)}" --timeout 600) \
    >"$log" 2>&1
  rc=$?
  grep -E '^[0-9]+% tests passed|Failed|\*\*\*|Not Run' "$log" | tail -n 40
  summary=$(grep -E '^[0-9]+% tests passed' "$log" | tail -n 1)
  if [[ $summary =~ ([0-9]+)\ tests\ failed\ out\ of\ ([0-9]+) ]]; then
    failed=$((failed + BASH_REMATCH[1]))
    passed=$((passed + BASH_REMATCH[2] - BASH_REMATCH[1]))
  fi
  if [ $rc -ne 0 ]; then
    status=1
    if [ -n "$summary" ]; then
      mapfile -t lines < <(sed -n '/The following tests FAILED:/,$p' "$log" | grep -E '^[[:space:]]+[0-9]+ - ')
    else
      # No summary: ctest stopped before running anything, mostly a test program it could not list.
      tail -n 30 "$log"
      failed=$((failed + 1))
      mapfile -t lines < <(grep -E "Path: |Result: |Error|error" "$log" | head -n 6)
    fi
    recap+=("$tree:" "${lines[@]}")
  fi
done
# The release, built twice from clean (only the tool and the contract generator, without the
# compiler cache) and compared byte for byte: one counted test.
echo "== release (two clean builds compared)"
release_log=$top/build/release-check.log
nice -n 10 "$top/scripts/check_release.sh" >"$release_log" 2>&1
line=$(tail -n 1 "$release_log")
echo "$line"
if [[ $line == "release: ok"* ]]; then
  passed=$((passed + 1))
else
  tail -n 20 "$release_log"
  failed=$((failed + 1)) status=1 recap+=("release: $line")
fi
# A short smoke of each fuzz target, about 3 minutes for all (fuzz/run.sh runs them longer on demand).
echo "== fuzz smoke (${TARN_FUZZ_SECONDS:=13} s per target)"
while read -r line; do
  echo "$line"
  case $line in
    fuzz_*": ok,"*) passed=$((passed + 1)) ;;
    fuzz_*) failed=$((failed + 1)) status=1 recap+=("$line") ;;
  esac
done < <(nice -n 19 "$top/fuzz/run.sh" "$TARN_FUZZ_SECONDS" 2>&1 || echo "fuzz_run: FAILED")

if [ ${#recap[@]} -gt 0 ]; then
  echo "== failed"
  printf '  %s\n' "${recap[@]}" | head -n 20
fi
echo "$passed passed, $failed failed"
exit $status
