# Two commands for a newcomer: `make demo` and `make check`. Both install what is missing first.
SHELL := /bin/bash
TOP := $(abspath .)
JOBS ?= $(shell nproc)

.PHONY: all setup build build-windows build-native build-asan build-tsan demo check release bench clean

all: build

setup:
	@scripts/setup.sh

build: build-windows build-native build-asan build-tsan

build-windows: setup
	@cmake -S . -B build/windows -G Ninja -DCMAKE_TOOLCHAIN_FILE=$(TOP)/cmake/mingw-w64-x86_64.cmake >/dev/null
	@ninja -C build/windows -j $(JOBS) | grep -v '^\[' || true; test $${PIPESTATUS[0]} -eq 0

build-native: setup
	@cmake -S . -B build/native -G Ninja >/dev/null
	@ninja -C build/native -j $(JOBS) | grep -v '^\[' || true; test $${PIPESTATUS[0]} -eq 0

build-asan: setup
	@cmake -S . -B build/asan -G Ninja -DTARN_SANITIZE=address,undefined >/dev/null
	@ninja -C build/asan -j $(JOBS) | grep -v '^\[' || true; test $${PIPESTATUS[0]} -eq 0

build-tsan: setup
	@cmake -S . -B build/tsan -G Ninja -DTARN_SANITIZE=thread >/dev/null
	@ninja -C build/tsan -j $(JOBS) | grep -v '^\[' || true; test $${PIPESTATUS[0]} -eq 0

demo: build-windows
	@scripts/demo.sh

check: build
	@scripts/check.sh

# dist/tarn-rmm-<version>.zip and dist/SHA256SUMS (scripts/check_release.sh proves two clean
# builds give the same bytes).
release: setup
	@scripts/release.sh

# Figures, not tests: the tool against its floor under Wine, the waits, the walks, the executable.
bench: build-windows build-native
	@ninja -C build/windows bench_programs >/dev/null
	@ninja -C build/native walker_bench >/dev/null
	@bench/run.sh

clean:
	rm -rf build/windows build/native build/asan build/tsan build/wineprefix build/release build/release-check dist
