# A thin face on CMake; the build itself is in CMakeLists.txt and CMakePresets.json.
.DEFAULT_GOAL := lib
.PHONY: lib cli demo test test-sanitize fuzz windows test-windows bench bench-count install clean

PREFIX ?= /usr/local
JOBS := $(shell nproc)
DEMO_XML := /usr/share/mime/packages/freedesktop.org.xml

# Configures once; later builds configure again by themselves when they must.
build/%/build.ninja: CMakePresets.json
	cmake --preset $(if $(filter native,$*),release,$*)

lib: build/native/build.ninja  ## build/native/libparvel.so
	cmake --build --preset release --target parvel

cli: build/native/build.ninja  ## build/native/parvel
	cmake --build --preset release --target parvel_cli

demo:  ## from a bare checkout: install what is missing, build, convert a real XML file, show the tree
	@scripts/setup.sh build demo
	@$(MAKE) --no-print-directory cli
	@scripts/demo.sh build/native/parvel $(DEMO_XML) build/native/demo.bdoc

test:  ## from a bare checkout: install what is missing, build, run all tests
	@scripts/setup.sh build test
	@scripts/fetch-xml-suite.sh || { [ -z "$$PARVEL_REQUIRE_XML_SUITE" ] && \
		echo "NOTE: the XML conformance suite cannot be had here; its tests are skipped."; }
	@$(MAKE) --no-print-directory build/native/build.ninja
	cmake --build --preset release
	ctest --preset release -j $(JOBS)

test-sanitize:  ## the same tests with address and undefined-behaviour sanitizers
	@scripts/setup.sh build test
	@scripts/fetch-xml-suite.sh || echo "NOTE: the XML conformance suite cannot be had here; its tests are skipped."
	@$(MAKE) --no-print-directory build/sanitize/build.ninja
	cmake --build --preset sanitize
	ctest --preset sanitize -j $(JOBS)

fuzz:  ## coverage-guided fuzzers, each for FUZZ_SECONDS=60
	@scripts/setup.sh build fuzz
	@$(MAKE) --no-print-directory build/fuzz/build.ninja
	cmake --build --preset fuzz
	@scripts/fuzz.sh

windows:  ## build/windows/Parvel.DLL and build/windows/parvel.exe, for 32-bit Windows
	@scripts/setup.sh build windows
	@$(MAKE) --no-print-directory build/windows/build.ninja
	cmake --build --preset windows --target parvel parvel_cli
	@cmake -DOBJDUMP=i686-w64-mingw32-objdump -DDLL=build/windows/Parvel.DLL -DTOOL=build/windows/parvel.exe \
		-DEXPECTED=tests/exports.txt -P tests/windows/pe_test.cmake

test-windows:  ## the same tests as 32-bit Windows programs, and the real DLL, under Wine
	@scripts/setup.sh build windows test-windows wine
	@scripts/test-windows.sh

bench:  ## figures against peers, side by side; BENCH_FILTER=load for some of them; all of them rewrite docs/benchmarks.md
	@scripts/setup.sh build bench
	@scripts/bench-corpus.py build/bench-corpus
	@$(MAKE) --no-print-directory build/bench/build.ninja
	cmake --build --preset bench
	scripts/bench-run.py build/bench build/bench/results.json '$(BENCH_FILTER)'
	scripts/bench-report.py build/bench/results.json docs

bench-count:  ## instructions of a fixed set of operations, against bench/counts.txt; UPDATE=1 keeps the new ones
	@scripts/setup.sh build bench
	@$(MAKE) --no-print-directory build/bench/build.ninja
	cmake --build --preset bench --target parvel_bench_count
	scripts/bench-count.py build/bench bench/counts.txt $(if $(UPDATE),--update)

install: build/native/build.ninja  ## header, library, tool, CMake package, pkg-config file, man page
	cmake --build --preset release --target parvel parvel_cli
	cmake --install build/native --prefix $(PREFIX)

clean:
	rm -rf build
