#!/usr/bin/env bash
# Runs a Windows program under Wine in the test prefix (build/wineprefix unless TARN_WINEPREFIX).
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix} WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
unset DISPLAY WAYLAND_DISPLAY
# A start that Wine refuses under load is retried for a program that may run twice: every listing
# of a test program's cases (ctest lists them all before it runs any, and one failed listing
# aborts the whole run), and any program run with TARN_WINE_RETRY=1. Only a listing, which takes
# a second, is also cut off and retried when it stalls; another program runs as long as it takes.
limit=0
case " $* " in *" --gtest_list_tests "*) TARN_WINE_RETRY=1 limit=25 ;; esac
if [ "${TARN_WINE_RETRY:-0}" = 1 ]; then
  out=$(mktemp) && trap 'rm -f "$out"' EXIT || exit 1
  for delay in 1 2 4 0; do
    timeout "$limit" wine "$@" >"$out" && { cat "$out"; exit 0; }
    rc=$?
    echo "wine-exec: ${1##*/} ended with $rc" >&2
    sleep "$delay"
  done
  cat "$out"
  exit "$rc"
fi
exec wine "$@"
