#!/usr/bin/env bash
# Runs a Windows program under Wine in the test prefix (build/wineprefix unless TARN_WINEPREFIX).
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix} WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
unset DISPLAY WAYLAND_DISPLAY
exec wine "$@"
