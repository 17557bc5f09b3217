# The two commands a newcomer needs, and a few that developers use. Everything else is plain CMake:
# see CMakePresets.json.
#
#   make convert   build the program, turn the mailbox in examples/ into build/example.pst, list it
#   make test      build everything and run all tests, those of the Windows program under Wine too
#   make test WINDOWS=no   the same without the Windows program
#   make test ARM64=yes    the same, and parts of it for 64-bit ARM in emulation
#   make windows   build the Windows program, build/windows-cross/parvane.exe (see docs/windows.md)
#   make test-windows   the tests of the Windows program alone (after make test)
#   make test-arm64     the tests for 64-bit ARM alone (after make test)
#   make dist      source archive, build/parvane-VERSION.tar.gz
#   make deb       Debian packages, build/release/*.deb (see docs/packaging.md)
#   make windows-package   zip and installer for Windows, build/windows-cross/parvane-*.{zip,exe}
#   make bench     measures conversions, prints the tables of docs/performance.md (see docs/benchmarks.md)
#   make bench REAL=~/mail   the same, with the mbox files of a folder as mailbox A
#   make bench-scale   a million messages, thousands of folders, gigabytes; takes 16 GB of disk
#   make docs      the reference of the library, build/docs/html (Doxygen)
#   make format    let clang-format rewrite the sources

SHELL := /bin/sh
PRESET ?= release
BUILD := build/$(PRESET)

# Rebuilds are much faster with ccache; nothing depends on it.
CMAKE_CXX_COMPILER_LAUNCHER ?= $(shell command -v ccache 2>/dev/null)
export CMAKE_CXX_COMPILER_LAUNCHER

.PHONY: convert test test-windows test-arm64 windows windows-package dist deb bench bench-scale docs format format-check clean

convert:
	@tools/install_dependencies.sh
	@cmake --preset $(PRESET) >/dev/null
	@cmake --build $(BUILD) --target parvane
	$(BUILD)/parvane convert --overwrite examples/mail build/example.pst
	$(BUILD)/parvane list --messages build/example.pst

test:
	@tools/install_dependencies.sh tests $(if $(filter asan,$(PRESET)),clang)
	@tools/install_dependencies.sh browser || true
	@cmake --preset $(PRESET)
	@cmake --build $(BUILD)
	@ctest --test-dir $(BUILD) --output-on-failure
ifeq ($(PRESET),release)
ifeq ($(WINDOWS),no)
	@echo 'not tested: the Windows program (WINDOWS=no)'
else
	@tools/test_windows.sh
endif
ifeq ($(ARM64),yes)
	@tools/test_arm64.sh
else
	@echo 'not tested: 64-bit ARM (ARM64=yes)'
endif
endif
	@cat $(BUILD)/not_tested.txt

test-windows:
	@tools/test_windows.sh

test-arm64:
	@tools/test_arm64.sh

windows:
	@tools/install_dependencies.sh windows
	@cmake --preset windows-cross >/dev/null
	@cmake --build build/windows-cross --target parvane parvanemapi

windows-package:
	@tools/install_dependencies.sh windows
	@cmake --preset windows-cross >/dev/null
	@cmake --build build/windows-cross --target windows-package

# The same commit gives the same bytes.
dist:
	@mkdir -p build
	@version=$$(sed -n 's/^project(parvane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) && \
	  git archive --prefix=parvane-$$version/ HEAD | gzip -9n >build/parvane-$$version.tar.gz && \
	  ls -l build/parvane-$$version.tar.gz

deb:
	@tools/install_dependencies.sh packages
	@cmake --preset release >/dev/null
	@cmake --build build/release --target deb >build/release/deb.log 2>&1 || { tail -20 build/release/deb.log; exit 1; }
	@ls -l build/release/*.deb

bench:
	@tools/install_dependencies.sh bench
	@cmake --preset bench
	@cmake --build build/bench
	@python3 bench/convert_benchmark.py --build build/bench $(if $(REAL),--real '$(REAL)')

bench-scale:
	@tools/install_dependencies.sh bench
	@cmake --preset bench
	@cmake --build build/bench --target parvane
	@python3 bench/scale_benchmark.py --parvane build/bench/parvane

docs:
	@tools/install_dependencies.sh docs
	@doxygen docs/api/Doxyfile
	@echo build/docs/html/index.html

format:
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

format-check:
	@tools/check_sources.py .
	@git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

clean:
	rm -rf build
