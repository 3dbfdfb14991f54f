# Sourced by the scripts that run Windows programs: the Wine prefix of this checkout and the
# shared test-bed tools. Defines testbed_up (prefix ready, persistent wineserver) and
# testbed_down.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
TARN_SHARED=${TARN_SHARED:-$top/../shared}
WINEBED=$TARN_SHARED/winebed/winebed.sh
PREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix}
[ -x "$WINEBED" ] || { echo "missing $WINEBED (the shared test-bed tools beside the checkout)" >&2; exit 1; }

testbed_up() {
  "$WINEBED" prefix "$PREFIX" || return 1  # creates or repairs; fast when the prefix exists
  # The test PKI's roots, and only those, are trusted in the prefix.
  TARN_SHARED=$TARN_SHARED "$top/sim/pki/trust.sh" "$PREFIX" "$top/build/windows/pki" || return 1
  "$WINEBED" serve "$PREFIX"
}
testbed_down() { "$WINEBED" stop "$PREFIX" || true; }

# Runs a Windows program in the prefix; its full exit code lands in the file named by $2.
wine_run() {  # EXITFILE PROGRAM ARGS...
  local exitfile=$1
  shift
  WRUN_EXITFILE="Z:$exitfile" "$top/tools/wine-exec.sh" 'C:\winebed\wrun.exe' "$@"
}
