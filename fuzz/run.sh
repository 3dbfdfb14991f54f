#!/usr/bin/env bash
# Usage: fuzz/run.sh [SECONDS]   (default 60)
# Builds the fuzz targets in a clang tree (TARN_FUZZ_BUILD, default build/fuzz) and runs each
# for SECONDS on its committed corpus. New inputs go to the tree, never into fuzz/corpus; a
# failing input is written to <tree>/fuzz-artifacts/<target>/. Exit status 1 when any target
# failed. Run it under `nice -n 19` on a shared machine.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(cd "$here/.." && pwd)
seconds=${1:-60}
build=${TARN_FUZZ_BUILD:-$top/build/fuzz}
targets=(ber_reader auth_message time_message feature_arguments event_payload scan_log installer_xml
         sdk_reply kivoro_identity agent_config product_status update_health certificate_file)

cmake -S "$top" -B "$build" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DTARN_FUZZ=ON >"$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
ninja -C "$build" -j "${JOBS:-2}" "${targets[@]/#/fuzz_}" >"$build.build.log" 2>&1 ||
  { tail -n 40 "$build.build.log"; exit 1; }

status=0
for target in "${targets[@]}"; do
  work=$build/fuzz-corpus/$target
  artifacts=$build/fuzz-artifacts/$target
  log=$build/fuzz-$target.log
  mkdir -p "$work" "$artifacts"
  : >"$log"  # figures of this run only: the run below appends
  # Inputs that once failed run whole first: the length limit of the run cuts the deep ones, and
  # without it every input would grow to their size.
  regressions=()
  for seed in "$here/corpus/$target"/crash-* "$here/corpus/$target"/slow-*; do
    [ -e "$seed" ] && regressions+=("$seed")
  done
  if { [ ${#regressions[@]} -eq 0 ] ||
       "$build/fuzz/fuzz_$target" -timeout=10 "${regressions[@]}" >"$log" 2>&1; } &&
     "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
       -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/" "$work" \
       "$here/corpus/$target" >>"$log" 2>&1; then
    verdict=ok
  else
    verdict=FAILED
    status=1
    tail -n 40 "$log"
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1)
  echo "fuzz_$target: $verdict, ${runs:-?} runs in ${seconds}s (${speed:-?}/s), ${cov:-cov: ?}"
done
exit $status
