#!/usr/bin/env bash
# Checks the release: two clean builds of this commit, in two fresh build trees and without the
# compiler cache, give byte-identical executables and archives; the archive holds exactly the
# release files, whose checksums match; the version in the archive's name is what the tool answers
# to -getversion (read from its version resource); the sample configfile.txt leaves logging off
# and turns it on with its last line switched. Needs the test bed up (scripts/testbed.sh) to run
# the tool. Ends with "release: ok" or "release: FAILED ...".
set -uo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=${TARN_RELEASE_CHECK_DIR:-$top/build/release-check}
fail() { echo "release: FAILED: $*"; exit 1; }

rm -rf "$work"
mkdir -p "$work"
for n in 1 2; do
  TARN_RELEASE_CLEAN=1 "$top/scripts/release.sh" "$work/build$n" "$work/dist$n" >"$work/build$n.log" 2>&1 ||
    { tail -n 20 "$work/build$n.log"; fail "build $n"; }
done
zip=$(cd "$work/dist1" && ls tarn-rmm-*.zip)
cmp "$work/build1/windows/tarn-rmm.exe" "$work/build2/windows/tarn-rmm.exe" ||
  fail "the two executables differ"
cmp "$work/dist1/$zip" "$work/dist2/$zip" || fail "the two archives differ"
(cd "$work/dist1" && sha256sum --quiet -c SHA256SUMS) || fail "the archive's checksum"

unpacked=$work/unpacked
python3 -c 'import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])' \
  "$work/dist1/$zip" "$unpacked"
expected="EXIT-CODES.md README.md SHA256SUMS configfile.txt tarn-rmm-commands.json tarn-rmm.exe"
[ "$(cd "$unpacked" && LC_ALL=C ls | xargs)" = "$expected" ] || fail "contents: $(ls "$unpacked")"
(cd "$unpacked" && sha256sum --quiet -c SHA256SUMS) || fail "the files' checksums"

# The tool from the archive, in a folder of its own in the prefix.
PREFIX=${TARN_WINEPREFIX:-$top/build/wineprefix}
folder=$PREFIX/drive_c/tarn-release-check
rm -rf "$folder" && mkdir -p "$folder" && cp "$unpacked"/* "$folder/"
tool() { "$top/tools/wine-exec.sh" 'C:\tarn-release-check\tarn-rmm.exe' "$@" 2>/dev/null; }
version=${zip#tarn-rmm-}
version=${version%.zip}
[ "$(tool -getversion)" = "$version" ] || fail "-getversion answers '$(tool -getversion)', not $version"
[ ! -e "$folder/log.txt" ] || fail "the sample configfile.txt switched logging on"
sed -i 's/^Logging=false/Logging=true/' "$folder/configfile.txt"
tool -getversion >/dev/null
grep -q ' Get RMM tool version' "$folder/log.txt" 2>/dev/null ||
  fail "the sample configfile.txt with Logging=true left logging off"
rm -rf "$folder"
echo "release: ok ($zip, two builds identical)"
