# Sourced by the scripts that run Windows programs: the Wine prefix of this checkout, prepared by
# the project's test bed (testbed/). Defines testbed_up (prefix ready, persistent wineserver),
# testbed_down and wine_run.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
TESTBED=$top/testbed/testbed.sh
PREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix}

testbed_up() {
  "$TESTBED" prefix "$PREFIX" || return 1  # creates or repairs; fast when the prefix exists
  # The test PKI's roots, and only those, are trusted in the prefix.
  "$top/sim/pki/trust.sh" "$PREFIX" "$top/build/windows/pki" || return 1
  "$TESTBED" serve "$PREFIX"
}
testbed_down() { "$TESTBED" stop "$PREFIX" || true; }

# Runs a Windows program in the prefix; its full exit code lands in the file named by $1.
wine_run() {  # EXITFILE PROGRAM ARGS...
  local exitfile=$1
  shift
  WRUN_EXITFILE="Z:$exitfile" "$top/tools/wine-exec.sh" 'C:\testbed\wrun.exe' "$@"
}
