# The short front door. The build itself is CMake's: see CMakePresets.json for every way of building.

JOBS  ?= $(shell nproc)
ARGS  ?=
STRICT ?= OFF
SECONDS ?= 60
SEED ?=
PREFIX ?= /usr/local
DESTDIR ?=
SOURCES := sdk runtime core find host_api plugin cli host tools samples tests bench
SOURCE_FILES := find $(SOURCES) -name '*.h' -o -name '*.cpp'
TEXT_FILES := find Makefile *.md docs desktop $(SOURCES) -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.md' \
              -o -name '*.py' -o -name CMakeLists.txt -o -name Makefile -o -perm -u+x \)
BUILD := cmake --build -j $(JOBS) --preset
CONFIGURE := cmake -DCMAKE_COMPILE_WARNING_AS_ERROR=$(STRICT) --preset

.PHONY: help setup build run test test-asan test-tsan test-session fuzz bench install uninstall deb check-desktop \
        arrows thread-safety mutate format check-format tidy tidy-changed clean

help:
	@echo "make run               set up, build, and open the player; without a display, a session on sample feeds"
	@echo "make run ARGS='...'    set up, build, and run one command, e.g. ARGS='subscribe https://…'"
	@echo "make test              set up, build, and run the tests"
	@echo "make build             the programs, in build/bin"
	@echo "make test-asan         the tests under the address and undefined-behaviour sanitizers"
	@echo "make test-tsan         the tests under the thread sanitizer"
	@echo "make test-session      a session with the player by real mouse and keys, on a display of its own"
	@echo "make fuzz SECONDS=60   the fuzzing program, for so long; findings in build/fuzz/findings"
	@echo "make bench             the comparison with other programs (see bench/README.md)"
	@echo "make install           installs to PREFIX (/usr/local), below DESTDIR if set; make uninstall takes it away"
	@echo "make deb               a Debian package, in build"
	@echo "make check-desktop     checks menu entry, metadata, manual pages and completion (see desktop/)"
	@echo "make arrows            checks that the folders include one another one way (see tools/arrows)"
	@echo "make thread-safety     checks that what a mutex guards is used under it (see tools/thread-safety)"
	@echo "make mutate            changes 30 places of the sources: which does no test notice? (see tools/mutate)"
	@echo "make format            lays all sources out by .clang-format; make check-format only checks them"
	@echo "make tidy              what clang-tidy says of all sources; make tidy-changed of those that changed last"

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

test-session: build
	@./tools/setup tests/session/packages.txt
	@./tests/session/session build/bin

fuzz: setup
	@./tools/setup tests/fuzz/packages.txt
	@$(CONFIGURE) fuzz >/dev/null
	@$(BUILD) fuzz
	@./tests/fuzz/run build/fuzz/bin $(SECONDS)

bench: setup
	@./tools/setup bench/packages.txt
	@$(CONFIGURE) bench >/dev/null
	@$(BUILD) bench
	@./bench/compare build/bench/bin

# What is built already is installed as it is: root leaves no files of a build in the user's folder.
install:
	@test -e build/bin/vexa || $(MAKE) build
	@DESTDIR="$(DESTDIR)" cmake --install build --strip --prefix "$(PREFIX)" >/dev/null
ifeq ($(DESTDIR),)
	@./desktop/announce "$(PREFIX)"
endif

uninstall:
	@sed 's|^|$(DESTDIR)|' build/install_manifest.txt | xargs -d '\n' rm -f
	@for folder in lib/vexa/plugins lib/vexa/runtime lib/vexa share/vexa/lang share/vexa share/doc/vexa; do \
	    rmdir "$(DESTDIR)$(PREFIX)/$$folder"; done
ifeq ($(DESTDIR),)
	@./desktop/announce "$(PREFIX)"
endif

deb: build
	@./tools/setup desktop/packages.txt
	@cd build && cpack -G DEB >/dev/null && ls "$$PWD"/*.deb

check-desktop:
	@./tools/setup desktop/packages.txt
	@./desktop/check

arrows: setup
	@./tools/arrows

thread-safety: build
	@./tools/setup tools/thread-safety/packages.txt
	@./tools/thread-safety/check --jobs $(JOBS) build

mutate: setup
	@./tools/mutate core find runtime plugin host_api --limit 30 $(if $(SEED),--seed $(SEED))

format:
	@./tools/setup tools/packages.txt
	@$(SOURCE_FILES) | xargs clang-format-16 -i

# clang-format leaves long literals as they are, and scripts and documents alone. Only tables and links of documents may
# be longer than 120 columns.
check-format:
	@./tools/setup tools/packages.txt
	@$(SOURCE_FILES) | xargs clang-format-16 --dry-run -Werror
	@! $(TEXT_FILES) | LC_ALL=C.UTF-8 xargs grep -nE '^.{121}' | grep -vE '^[^:]*\.md:[0-9]+:(\||.*\]\()'

tidy: build
	@./tools/setup tools/packages.txt
	@./tools/tidy

tidy-changed: build
	@./tools/setup tools/packages.txt
	@./tools/tidy --changed

clean:
	@rm -rf build
