#!/usr/bin/env bash
# Drives the simulated agent in a Wine prefix:
#   scripts/simagent.sh install [SCENARIO] [--variant V] [--legacy] [--encoding E] [--no-start]
#   scripts/simagent.sh remove
#   scripts/simagent.sh scenario NAME        switches the agent to sim/scenarios/NAME.json
#                                            (installing it when missing); "not-installed" removes it
#   scripts/simagent.sh COMMAND ARGS...      any other simctl.exe command (scripts/simagent.sh help)
# It copies the simulator kit from the Windows build tree into the prefix (C:\tarn-sim) and runs
# simctl.exe there. The prefix is TARN_WINEPREFIX (default build/wineprefix), the build tree
# TARN_WINDOWS_BUILD (default build/windows). The services live as long as the prefix's
# wineserver: a persistent one is started when none runs.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
PREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix}
BUILD=${TARN_WINDOWS_BUILD:-$top/build/windows}
die() { echo "simagent: $*" >&2; exit 1; }

[ $# -gt 0 ] || set -- help
kit=$BUILD/sim
[ -f "$kit/bin/simctl.exe" ] ||
  die "no simulator in $BUILD (build it: ninja -C $BUILD sim_agent_kit)"

if [ ! -f "$PREFIX/system.reg" ]; then
  "$top/testbed/testbed.sh" prefix "$PREFIX" || die "cannot create the prefix $PREFIX"
fi
export WINEPREFIX=$PREFIX WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
# Exit status 2: a server already runs for this prefix. Otherwise this one is new, and a first
# program starts the system processes away from our pipes (they keep the stdio they get).
if wineserver -p </dev/null >/dev/null 2>&1; then
  wine cmd /c exit </dev/null >/dev/null 2>&1 || true
fi

# The kit keeps the build's layout: bin\, signed\<variant>\, scenarios\, installer-xml\.
target=$PREFIX/drive_c/tarn-sim
rm -rf "$target"
mkdir -p "$target"
for part in bin signed scenarios installer-xml; do
  [ -d "$kit/$part" ] && cp -r "$kit/$part" "$target/"
done

# A monitor's states are scenarios, one of them the absence of the agent.
if [ "$1" = scenario ] && [ $# -eq 2 ]; then
  if [ "$2" = not-installed ]; then
    set -- remove
  elif [ ! -d "$PREFIX/drive_c/Program Files/Arvantis/TARN" ]; then
    set -- install "$2"
  fi
fi

"$top/tools/wine-exec.sh" 'C:\tarn-sim\bin\simctl.exe' "$@"
