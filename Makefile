# The commands of this house. docs/HACKING.md has the table; each target does all the set-up it
# needs on a fresh Debian 12 machine, and none of it twice.

# Debian's own tools, whatever else a machine has put before them.
export PATH := /usr/sbin:/usr/bin:/sbin:/bin:$(PATH)

PYTHON := /usr/bin/python3
PROGRAM := build/release/src/App/Linux/vorlin
PRESETS := dev release asan tsan asan-all tsan-all fuzz nightly
# How long each fuzz target runs at night.
FUZZ_SECONDS := 180

.PHONY: build run test nightly lint sanitizers slow-tests fuzz bench format packages
.PHONY: $(PRESETS:%=build-%)
.NOTPARALLEL:

build: packages build-release

run: build
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	    exec $(PROGRAM); \
	else \
	    exec $(PYTHON) tests/desktop/demonstrate.py --program $(PROGRAM); \
	fi

test: packages build-release build-asan build-tsan
	@$(PYTHON) scripts/run-tests release asan tsan

nightly: packages
	@scripts/install-packages --nightly
	@$(MAKE) --keep-going lint sanitizers slow-tests fuzz bench

lint: build-release
	run-clang-tidy-16 -quiet -p build/release '^$(CURDIR)/(src|tests|bench)/'

sanitizers: build-asan-all build-tsan-all
	@$(PYTHON) scripts/run-tests asan-all tsan-all

slow-tests: build/nightly/build.ninja
	cmake --build build/nightly --target nightly
	@$(PYTHON) scripts/run-tests --label nightly nightly

fuzz: build/fuzz/build.ninja
	cmake --build build/fuzz --target fuzzers
	@$(PYTHON) scripts/run-fuzzers --seconds $(FUZZ_SECONDS)

bench: build-release
	@$(PYTHON) scripts/run-benches

format:
	@find src tests bench \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) -print0 | \
	    xargs -0 clang-format-16 -i

packages:
	@scripts/install-packages

# Once configured, the build notices by itself what changes; except for the presets.
$(PRESETS:%=build/%/build.ninja): build/%/build.ninja: CMakePresets.json
	cmake --log-level=NOTICE --preset $*

$(PRESETS:%=build-%): build-%: build/%/build.ninja
	@cmake --build build/$*
