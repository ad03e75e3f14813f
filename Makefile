# The short front door. The build itself is CMake's: see CMakePresets.json for every way of building.

JOBS  ?= $(shell nproc)
ARGS  ?=
STRICT ?= OFF
BUILD := cmake --build -j $(JOBS) --preset
CONFIGURE := cmake -DCMAKE_COMPILE_WARNING_AS_ERROR=$(STRICT) --preset

.PHONY: help setup build run test test-asan test-tsan bench format clean

help:
	@echo "make run               set up, build, and open the player; without a display, a session on sample feeds"
	@echo "make run ARGS='...'    set up, build, and run one command, e.g. ARGS='subscribe https://…'"
	@echo "make test              set up, build, and run the tests"
	@echo "make build             the programs, in build/bin"
	@echo "make test-asan         the tests under the address and undefined-behaviour sanitizers"
	@echo "make test-tsan         the engine's tests under the thread sanitizer"
	@echo "make bench             the comparison with other programs (see bench/README.md)"

setup:
	@./tools/setup packages.txt

build: setup
	@$(CONFIGURE) release >/dev/null
	@$(BUILD) release

run: build
ifeq ($(strip $(ARGS)),)
	@if [ -n "$$QT_QPA_PLATFORM$$DISPLAY$$WAYLAND_DISPLAY" ]; then build/bin/vexa; \
	else echo "There is no display for the player: a session at the command line instead."; ./tools/demo build/bin; fi
else
	@build/bin/podcasts $(ARGS)
endif

test: build
	@ctest --preset release

test-asan: setup
	@$(CONFIGURE) asan >/dev/null
	@$(BUILD) asan
	@ctest --preset asan

test-tsan: setup
	@$(CONFIGURE) tsan >/dev/null
	@$(BUILD) tsan
	@ctest --preset tsan

bench: setup
	@./tools/setup bench/packages.txt
	@$(CONFIGURE) bench >/dev/null
	@$(BUILD) bench
	@./bench/compare build/bench/bin

format:
	@find sdk runtime core host_api plugin cli host tests bench -name '*.h' -o -name '*.cpp' | xargs clang-format -i

clean:
	@rm -rf build
