#!/usr/bin/env bash
# Runs the tool under Wine and shows, for each command, its answer and its full exit code.
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/testbed.sh"

testbed_up || exit 1
trap testbed_down EXIT

# The tool in its own folder of the prefix, with logging on, as an RMM platform deploys it.
install_dir=$PREFIX/drive_c/tarn-rmm
mkdir -p "$install_dir"
cp "$top/build/windows/tarn-rmm.exe" "$install_dir/"
printf 'Logging=true\r\n' >"$install_dir/configfile.txt"
rm -f "$install_dir/log.txt"
exitfile=$(mktemp)

run() {
  local answer code
  answer=$(wine_run "$exitfile" 'C:\tarn-rmm\tarn-rmm.exe' "$@" 2>/dev/null)
  code=$(cat "$exitfile" 2>/dev/null || echo "?")
  printf '$ tarn-rmm.exe %s\n  answer: "%s"\n  exit code: %s\n' "$*" "$answer" "$code"
}

run -getversion
run -checkis64bitos
run -checkiflegacyversion
run -CHECKIS64BITOS
run -getversion unexpected-argument
run -nosuchcommand
rm -f "$exitfile"
echo
echo "log: $install_dir/log.txt"
sed 's/^/  /' "$install_dir/log.txt"
