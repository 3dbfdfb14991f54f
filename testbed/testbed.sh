#!/usr/bin/env bash
# testbed.sh: the project's Wine test bed for Windows x64 programs that check Authenticode
# signatures (testbed/README.md says why each piece exists).
#   prefix DIR            create or repair a 64-bit prefix: helpers in C:\testbed, the trust
#                         provider and revocation wrappers registered, no crash debugger
#                         (idempotent; run it before every test run, since wineboot -u undoes
#                         the registration)
#   trust-root DIR CERT   add CERT (DER or PEM) to LocalMachine "Root" in the prefix DIR
#   build OUTDIR          compile tsprov.dll, tsrev.dll, certroot.exe and wrun.exe into OUTDIR
#   sign IN OUT CHAIN.pem KEY [rfc3161|legacy|none]
#                         Authenticode-sign IN (SHA-256) with osslsigncode, time-stamped by the
#                         local time-stamping server of TARN_TSA_CERT (chain, PEM) and TARN_TSA_KEY
#   tsa-url | tsa-stop    print that server's URL, starting it when needed / stop it
#   serve DIR | stop DIR  (re)start a persistent wineserver for DIR / stop it (saves the registry)
# Quiet on success; on failure a message on stderr and exit status 1.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
die() { echo "testbed: $*" >&2; exit 1; }

# Runs a command with its stdio away from the caller's pipes (a wineserver it starts keeps them
# open, and a reader of that pipe would never see the end); shows its output only on failure.
quiet() {
  local log rc=0
  log=$(mktemp)
  "$@" </dev/null >"$log" 2>&1 || rc=$?
  [ $rc = 0 ] || cat "$log" >&2
  rm -f "$log"
  return $rc
}

use_prefix() {  # DIR [new]
  [ -n "$1" ] || die "missing prefix directory"
  if [ "${2:-}" = new ]; then
    mkdir -p "$1"
  elif [ ! -f "$1/system.reg" ]; then
    die "$1 is not a Wine prefix (run: testbed.sh prefix $1)"
  fi
  WINEPREFIX=$(cd "$1" && pwd)
  export WINEPREFIX WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
  export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}  # no Mono or Gecko prompts
  unset DISPLAY WAYLAND_DISPLAY
}

# The helpers are compiled here rather than by CMake: a prefix is needed before and apart from
# any Windows build tree (scripts/simagent.sh makes one on demand, a new prefix is prepared while
# the build runs), and three single-file programs need no more than one compiler call each.
cmd_build() {
  local out=${1:?usage: testbed.sh build OUTDIR}
  local cxx=${TARN_TESTBED_CXX:-x86_64-w64-mingw32-g++-posix} job pids=() failed=0
  mkdir -p "$out"
  for job in "tsprov.dll tsprov.cc -shared -lcrypt32 -lbcrypt" "tsrev.dll tsrev.cc -shared -lcrypt32" \
    "certroot.exe certroot.cc -municode -lcrypt32" "wrun.exe wrun.cc -municode"; do
    set -- $job  # output, source, flags
    local bin=$out/$1 src=$here/$2
    shift 2
    [ "$bin" -nt "$src" ] && [ "$bin" -nt "$here/testbed.sh" ] && continue
    { "$cxx" -std=c++17 -O2 -Wall -Wextra -Werror -s -static -static-libgcc -static-libstdc++ \
      -o "$bin.tmp" "$src" "$@" >"$bin.log" 2>&1 && mv -f "$bin.tmp" "$bin" && rm -f "$bin.log"; } &
    pids+=($!)
  done
  for job in ${pids[@]+"${pids[@]}"}; do wait "$job" || failed=1; done
  [ $failed = 0 ] || { cat "$out"/*.log >&2; die "building the test-bed helpers failed"; }
}

cmd_prefix() {
  use_prefix "${1:-}" new
  local tools=$WINEPREFIX/drive_c/testbed step
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    cmd_build "$tools" &  # compiles while wineboot works
    local builder=$!
    quiet wineboot -i || die "wineboot -i failed"
    # wineboot -i returns while services still restart; sc commands would then time out.
    wineserver -w </dev/null >/dev/null 2>&1
    wait $builder || exit 1
  fi
  cmd_build "$tools"
  {
    printf 'Windows Registry Editor Version 5.00\r\n\r\n'
    # Three steps of WINTRUST_ACTION_GENERIC_VERIFY_V2 go through the wrapper; the rest stay Wine's.
    local providers='HKEY_LOCAL_MACHINE\Software\Microsoft\Cryptography\Providers\Trust'
    local action='{00AAC56B-CD44-11D0-8CC2-00C04FC295EE}'
    for step in Signature:TsprovLoadSignature FinalPolicy:TsprovFinalPolicy Cleanup:TsprovCleanup; do
      printf '[%s\\%s\\%s]\r\n' "$providers" "${step%%:*}" "$action"
      printf '"$DLL"="C:\\\\testbed\\\\tsprov.dll"\r\n"$Function"="%s"\r\n\r\n' "${step#*:}"
    done
    # Revocation goes through the wrapper, which consults the "CA" store's lists as Windows does.
    printf '[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Cryptography\\OID\\EncodingType 1\\CertDllVerifyRevocation\\DEFAULT]\r\n'
    # (hex(7) of an ANSI .reg file: one byte per character, as reg import reads it)
    printf '"Dll"=hex(7):%s\r\n\r\n' "$(printf 'C:\\testbed\\tsrev.dll\0\0' |
      od -An -v -tx1 | tr -s ' \n' ' ' | sed 's/^ //;s/ $//;s/ /,/g')"
    # No winedbg on a crash: it would write its register dump into the program's stdout.
    printf '[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug]\r\n'
    printf '"Debugger"=""\r\n'
  } >"$tools/testbed.reg"
  quiet wine reg import 'C:\testbed\testbed.reg' || die "registry import failed"
}

cmd_trust_root() {
  use_prefix "${1:-}"
  local cert=${2:?usage: testbed.sh trust-root DIR CERT}
  [ -r "$cert" ] || die "cannot read $cert"
  cmd_build "$WINEPREFIX/drive_c/testbed"
  quiet wine 'C:\testbed\certroot.exe' "Z:$(realpath "$cert")" ||
    die "cannot add $cert to LocalMachine Root"
}

# One time-stamping server per certificate and key; its port, pid, log and lock live in $tsa.
tsa_state() {
  [ -n "${TARN_TSA_CERT:-}" ] && [ -n "${TARN_TSA_KEY:-}" ] ||
    die "set TARN_TSA_CERT (time-stamping certificate and chain, PEM) and TARN_TSA_KEY"
  local id
  id=$(realpath "$TARN_TSA_CERT" "$TARN_TSA_KEY" | sha1sum | cut -c1-12)
  tsa=${TMPDIR:-/tmp}/tarn-tsa-$(id -u)-$id
  mkdir -p "$tsa"
}
tsa_alive() {  # answers "ok" to a GET, which also restarts its idle timer
  local port reply=
  port=$(cat "$tsa/port" 2>/dev/null) || return 1
  { printf 'GET / HTTP/1.0\r\n\r\n' >&3 && read -r -t 5 reply <&3; } 2>/dev/null \
    3<>"/dev/tcp/127.0.0.1/$port" || return 1
  [[ $reply == HTTP/1.?" 200"* ]]
}
cmd_tsa_url() {
  tsa_state
  (
    flock 9
    tsa_alive && exit 0
    rm -f "$tsa/port"
    python3 "$here/tsserver.py" --cert "$TARN_TSA_CERT" --key "$TARN_TSA_KEY" \
      --port-file "$tsa/port" --idle "${TARN_TSA_IDLE:-300}" </dev/null >"$tsa/log" 2>&1 9>&- &
    echo $! >"$tsa/pid"
    for _ in $(seq 100); do
      [ -s "$tsa/port" ] && exit 0
      kill -0 $! 2>/dev/null || break
      sleep 0.05
    done
    cat "$tsa/log" >&2
    exit 1
  ) 9>"$tsa/lock" || die "the time-stamping server did not start"
  echo "http://127.0.0.1:$(cat "$tsa/port")"
}
cmd_tsa_stop() {
  tsa_state
  local pid
  pid=$(cat "$tsa/pid" 2>/dev/null) || return 0
  if grep -qs tsserver.py "/proc/$pid/cmdline"; then kill "$pid"; fi
  rm -rf "$tsa"
}

cmd_sign() {
  [ $# -ge 4 ] || die "usage: testbed.sh sign IN OUT CHAIN.pem KEY [rfc3161|legacy|none]"
  local in=$1 out=$2 chain=$3 key=$4 mode=${5:-rfc3161} url ts=()
  case $mode in
    rfc3161) url=$(cmd_tsa_url) || exit 1; ts=(-ts "$url") ;;
    legacy) url=$(cmd_tsa_url) || exit 1; ts=(-t "$url") ;;
    none) ;;
    *) die "unknown time stamp '$mode' (rfc3161, legacy or none)" ;;
  esac
  rm -f "$out.tmp"  # osslsigncode does not overwrite
  quiet osslsigncode sign -certs "$chain" -key "$key" -h sha256 ${ts[@]+"${ts[@]}"} \
    -in "$in" -out "$out.tmp" || { rm -f "$out.tmp"; die "signing $in failed"; }
  mv -f "$out.tmp" "$out"
}

cmd_stop() {
  use_prefix "${1:-}"
  wineserver -k </dev/null >/dev/null 2>&1 || true  # ends its programs, saves the registry
  wineserver -w </dev/null >/dev/null 2>&1 || true
}
cmd_serve() {  # a running server cannot be made persistent: restart it
  cmd_stop "$@"
  wineserver -p </dev/null >/dev/null 2>&1 || die "wineserver -p failed"
  quiet wine cmd /c exit  # the system processes start now, with stdio detached
}

cmd=${1:-help}
shift || true
case $cmd in
  prefix | trust-root | build | sign | tsa-url | tsa-stop | serve | stop) "cmd_${cmd//-/_}" "$@" ;;
  *) sed -n '2,/^set -e/{/^set -e/d;s/^# \{0,1\}//;p}' "$0" >&2; exit 2 ;;
esac
