#!/usr/bin/env bash
# Installs what the build and the test bed need on a Debian 12 machine, and fetches the
# dependency sources that Debian ships only as source. Idempotent; quiet when nothing is missing.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
deps=$top/build/deps

packages=(
  cmake ninja-build make g++ clang libclang-rt-14-dev python3 openssl osslsigncode
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64
  googletest rapidjson-dev librapidxml-dev dpkg-dev procps
  locales  # localedef and the ja_JP source: the challenge test on code page 932
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

sudo_() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
apt_updated=
apt_update() { [ -n "$apt_updated" ] || { sudo_ apt-get update -qq; apt_updated=1; }; }

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  apt_update
  sudo_ env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
fi

# tinyxml2 has no mingw build in Debian: compile its source package's tinyxml2.cpp ourselves.
if ! ls "$deps"/tinyxml2-*/tinyxml2.cpp >/dev/null 2>&1; then
  src_list=/etc/apt/sources.list.d/tarn-deb-src.sources
  if [ ! -f "$src_list" ]; then
    # the same archive as the binary entries, for sources only
    sudo_ sh -c "sed 's/^Types: deb\$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources > $src_list"
    apt_updated=
  fi
  apt_update
  mkdir -p "$deps"
  (cd "$deps" && apt-get source -qq tinyxml2 >/dev/null 2>&1) || {
    echo "setup: apt-get source tinyxml2 failed" >&2; exit 1; }
fi
