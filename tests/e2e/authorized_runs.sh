# Sourced by the end-to-end scripts of guarded commands: the real tarn-rmm.exe under Wine in a
# folder of its own in the prefix, the simulated agent (healthy) for the endpoint's identity, the
# test PKI, and authorizations made by the test issuer (tools/auth-issuer).
#   . authorized_runs.sh WINDOWS_BUILD_DIR FOLDER
# Defines tool, log_has, challenge_for, auth, signed_time, check, pass, fail and the counters
# passed/failed.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "${1:?usage: . authorized_runs.sh WINDOWS_BUILD_DIR FOLDER}" && pwd)
folder=${2:?usage: . authorized_runs.sh WINDOWS_BUILD_DIR FOLDER}
pki=$build/pki
issuer=$top/tools/auth-issuer/auth_issuer.py
PREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix}
export TARN_WINEPREFIX=$PREFIX TARN_WINDOWS_BUILD=$build

"$top/scripts/simagent.sh" install healthy >/dev/null || { echo "cannot install the agent"; exit 1; }
hwid=0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30

dir=$PREFIX/drive_c/$folder
win_dir="C:\\$folder"
rm -rf "$dir" && mkdir -p "$dir"
cp "$build/tarn-rmm.exe" "$build/nonce-key.exe" "$dir/"
printf 'Logging=true\r\n' >"$dir/configfile.txt"
work=$(mktemp -d)
trap 'rm -rf "$work" "$dir"' EXIT

code= out=
tool() {  # runs the tool; sets $code and $out
  rm -f "$work/code"
  out=$(WRUN_EXITFILE="Z:$work/code" "$top/tools/wine-exec.sh" 'C:\testbed\wrun.exe' \
        "$win_dir\\tarn-rmm.exe" "$@" 2>/dev/null)
  code=$(cat "$work/code" 2>/dev/null || echo none)
}
log_has() { grep -qF -- "$1" "$dir/log.txt"; }

required_acl='D:(D;OICI;KA;;;BG)(D;OICI;KA;;;AN)(D;OICI;KW;;;AU)(A;OICI;KA;;;BA)'
challenge_for() {  # TOKEN: asks the tool for a challenge; checks and opens up the key's list
  tool -getchallenge "$1"
  [ "$code" = 0 ] || { echo "-getchallenge answered $code"; return 1; }
  challenge=$out
  acl=$("$top/tools/wine-exec.sh" "$win_dir\\nonce-key.exe" 2>/dev/null | tr -d '\r')
  [ "$acl" = "$required_acl" ] || { echo "nonce key access list: $acl"; return 1; }
}

auth() {  # builds an authorization; extra issuer options follow
  python3 "$issuer" auth --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf.key" \
    --valid-from 20250101000000Z --valid-to 20351231235959Z "$@"
}
signed_time() {  # CHALLENGE EXECUTION_TIME [issuer options]
  local challenge=$1 when=$2
  shift 2
  python3 "$issuer" time --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf.key" \
    --challenge "$challenge" --execution-time "$when" "$@"
}
leaf_text=$(cat "$pki/auth-leaf.b64")

passed=0 failed=0
pass() { passed=$((passed + 1)) && echo "ok - $1"; }      # NAME
fail() { failed=$((failed + 1)) && echo "not ok - $1"; }  # "NAME: WHAT WAS SEEN"
check() {  # NAME EXPECTED_CODE [LOG_LINE]
  if [ "$code" = "$2" ] && { [ -z "${3:-}" ] || log_has "$3"; }; then
    pass "$1"
  else
    fail "$1: exit $code (expected $2)${3:+, log line \"$3\" $(log_has "$3" && echo present || echo missing)}"
  fi
}
authorized='Finished to validate authorization successfully. Operation is authorized'
