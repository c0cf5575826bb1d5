# The commands of this house. docs/HACKING.md has the table; each target does all the set-up it
# needs on a fresh Debian 12 or 13 machine, and none of it twice.

ifeq ($(shell uname),Darwin)
include packaging/macos/Makefile
else

# Debian's own tools, whatever else a machine has put before them.
export PATH := /usr/sbin:/usr/bin:/sbin:/bin:$(PATH)

PYTHON := /usr/bin/python3
PROGRAM := build/release/src/App/Linux/vorlin
PRESETS := dev release libcxx asan tsan asan-all tsan-all fuzz nightly
# How long each fuzz target runs at night.
FUZZ_SECONDS := 180
# The Debians that everything must work on, and those of them that this machine is not.
SUITES := bookworm trixie
OTHER_SUITES := $(filter-out $(shell . /etc/os-release; echo $$VERSION_CODENAME),$(SUITES))

.PHONY: build program run test package nightly lint sanitizers simulations slow-tests fuzz bench
.PHONY: packages first-starts other-suites swift sessions desktops format pictures
.PHONY: $(PRESETS:%=build-%)
.NOTPARALLEL:

run:
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	    scripts/install-packages run && $(MAKE) --no-print-directory program && \
	    echo "== Starting Vorlin" && exec $(PROGRAM); \
	else \
	    scripts/install-packages demonstration && $(MAKE) --no-print-directory program && \
	    exec $(PYTHON) tests/desktop/demonstrate.py --program $(PROGRAM); \
	fi

# What runs, and nothing else: where the tests are not configured yet, they are left out.
program: build/release/build.ninja
	@echo "== Building Vorlin"
	@cmake --build build/release --target vorlin

build/release/build.ninja: CMakePresets.json
	@echo "== Configuring"
	cmake --log-level=NOTICE --preset program

build:
	@scripts/install-packages tests
	@$(MAKE) --no-print-directory build-release

test:
	@scripts/install-packages tests
	@$(MAKE) --no-print-directory build-release build-libcxx build-asan build-tsan
	@$(PYTHON) scripts/run-tests release libcxx asan tsan

# The Debian package of what is committed, in build/package.
package:
	@scripts/install-packages packaging
	@packaging/linux/make-package

nightly:
	@scripts/install-packages nightly
	@$(MAKE) --keep-going lint sanitizers simulations slow-tests fuzz bench pictures desktops \
	    first-starts packages swift sessions other-suites

# By the clang-tidy that this Debian has, which cannot read headers that GCC has compiled.
lint: build-release
	@mkdir -p build/lint
	@sed -E 's/ -(Winvalid-pch|fpch-preprocess)\b//g; s/ -include [^ ]*cmake_pch\.hxx//g' \
	    build/release/compile_commands.json >build/lint/compile_commands.json
	$(firstword $(notdir $(wildcard /usr/bin/run-clang-tidy-1[69]))) -quiet -p build/lint \
	    '^$(CURDIR)/(src|tests|bench)/'

sanitizers: build-asan-all build-tsan-all
	@$(PYTHON) scripts/run-tests asan-all tsan-all

simulations: build-release
	@$(PYTHON) scripts/run-simulations

slow-tests: build/nightly/CTestTestfile.cmake
	cmake --build build/nightly --target nightly
	@$(PYTHON) scripts/run-tests --label nightly nightly

fuzz: build/fuzz/CTestTestfile.cmake
	cmake --build build/fuzz --target fuzzers
	@$(PYTHON) scripts/run-fuzzers --seconds $(FUZZ_SECONDS)

bench: build-release
	@$(PYTHON) scripts/run-benches

# Those of the README, taken anew into build/artefacts/pictures.
pictures:
	@scripts/install-packages demonstration
	@$(MAKE) --no-print-directory program
	@$(PYTHON) tests/desktop/pictures.py --program $(PROGRAM)

# The programs, terminals and desktops that people have; docs/DESKTOPS.md says what was seen.
desktops: program
	@scripts/test-desktops

# Tests install more than a start does, and would hide what it lacks.
# Nothing that a run installs or builds is there in the next.
NOTHING_LEFT := ! command -v cmake && [ ! -e build ] && [ ! -e /mark ] && touch /mark build

first-starts:
	@for suite in $(SUITES) $(SUITES); do \
	    scripts/fresh-machine --suite $$suite sh -c '$(NOTHING_LEFT)' || exit; \
	done
	@for suite in $(SUITES); do \
	    scripts/fresh-machine --suite $$suite make run && \
	    scripts/fresh-machine --suite $$suite scripts/start-on-a-display || exit; \
	done

packages:
	@scripts/try-package $(SUITES)

# The one file that is Swift, for macOS, by the compiler of the Debian that has one.
swift:
	@scripts/fresh-machine --suite trixie \
	    sh -c 'scripts/install-packages swift && tests/macos/swift/run'

# Whole dictations on KWin and GNOME Shell, of the Debian whose portals watch keys.
sessions:
	@scripts/fresh-machine --suite trixie scripts/test-sessions

other-suites:
	@for suite in $(OTHER_SUITES); do scripts/fresh-machine --suite $$suite make test || exit; done

# One version's layout is the layout: tests/tidy asks no other.
format:
	@find src tests bench \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) -print0 | \
	    xargs -0 clang-format-16 -i

# Once configured, the build notices by itself what changes; except for the presets. This file
# stands where tests are configured.
$(PRESETS:%=build/%/CTestTestfile.cmake): build/%/CTestTestfile.cmake: CMakePresets.json
	cmake --log-level=NOTICE --preset $*
	@touch $@

$(PRESETS:%=build-%): build-%: build/%/CTestTestfile.cmake
	@echo "== Building the preset $*"
	@cmake --build build/$*

endif
