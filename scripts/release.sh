#!/usr/bin/env bash
# Builds the release: dist/tarn-rmm-<version>.zip holding tarn-rmm.exe, a sample configfile.txt,
# the README, the exit-code reference, the command contract and their SHA256SUMS, and
# dist/SHA256SUMS of the archive. Only the tool and the contract generator are built: nothing of
# the simulator, the test PKI or the test issuer goes in.
#   scripts/release.sh [BUILD_DIR [DIST_DIR]]    (defaults: build/release, dist)
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$top/build/release}
dist=${2:-$top/dist}
jobs=${JOBS:-$(nproc)}
# TARN_RELEASE_CLEAN=1 compiles the tool without the compiler cache (the reproducibility check).
clean=()
[ "${TARN_RELEASE_CLEAN:-0}" = 1 ] && clean=(env CCACHE_DISABLE=1)

cmake -S "$top" -B "$build/windows" -G Ninja -DTARN_WITH_SIMULATOR=OFF \
  -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake" >/dev/null
"${clean[@]}" ninja -C "$build/windows" -j "$jobs" tarn-rmm >/dev/null
cmake -S "$top" -B "$build/native" -G Ninja >/dev/null
ninja -C "$build/native" -j "$jobs" tarn-contract >/dev/null
contract=$build/native/tools/contract/tarn-contract

# The one version: CMake's project VERSION, which also fills the tool's version resource.
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/windows/CMakeCache.txt")
[ -n "$version" ] || { echo "release: no project version in $build/windows" >&2; exit 1; }

stage=$build/stage
rm -rf "$stage"
mkdir -p "$stage" "$dist"
cp "$build/windows/tarn-rmm.exe" "$stage/"
sed 's/$/\r/' "$top/release/configfile.txt" >"$stage/configfile.txt"  # as Notepad writes it
cp "$top/README.md" "$stage/README.md"
"$contract" exit-codes "$version" >"$stage/EXIT-CODES.md"
"$contract" json "$version" >"$stage/tarn-rmm-commands.json"
files=(tarn-rmm.exe configfile.txt README.md EXIT-CODES.md tarn-rmm-commands.json)
(cd "$stage" && sha256sum "${files[@]}" >SHA256SUMS)

zip=tarn-rmm-$version.zip
python3 "$top/scripts/make_zip.py" "$dist/$zip" "$stage" "${files[@]}" SHA256SUMS
(cd "$dist" && sha256sum "$zip" >SHA256SUMS)
echo "$dist/$zip"
