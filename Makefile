# Quick start: `make demo` and `make test`. Everything else is plain CMake.
BUILD ?= build
SAN_BUILD ?= build-sanitize
PREFIX ?= /usr/local
GENERATOR := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CTEST_ARGS ?=
FUZZ_SECONDS ?= 60
FUZZ_JOBS ?= 1
FUZZ_ONLY ?= .

ifeq ($(SANITIZE),1)
  BUILD := $(SAN_BUILD)
  CONFIG_ARGS := -DQEL_SANITIZE=ON -DQEL_BUILD_BENCHMARKS=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
else
  CONFIG_ARGS :=
endif

.PHONY: setup configure build demo test bench docs install clean fuzz

setup:
	@bash scripts/setup.sh

configure: setup
	@cmake -S . -B $(BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CONFIG_ARGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Only the library and the demo are built.
demo: configure
	@cmake --build $(BUILD) -j $(JOBS) --target qel-demo
	@cd $(BUILD) && ./examples/qel-demo/qel-demo

test: build
	@cd $(BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

bench: setup
	@cmake -S . -B build-bench $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DQEL_BUILD_TESTS=OFF -DQEL_BUILD_FUZZERS=OFF >/dev/null
	@cmake --build build-bench -j $(JOBS)
	@cmake --build build-bench --target run-benchmarks

# The reference of the public headers, in the build tree; the count of undocumented or badly
# documented items is printed and listed in warnings.log; any warning fails (DOCS_STRICT=0 to only list).
docs: setup
	@mkdir -p $(BUILD)/docs
	@QEL_DOCS_OUTPUT=$(abspath $(BUILD))/docs doxygen docs/Doxyfile
	@echo "docs: $(BUILD)/docs/html/index.html, $$(sort -u $(BUILD)/docs/warnings.log | grep -c 'warning:' || true) warnings (see $(BUILD)/docs/warnings.log)"
	@if [ "$(DOCS_STRICT)" != 0 ] && grep -q '[^[:space:]]' $(BUILD)/docs/warnings.log; then \
	  echo "docs: the reference has warnings" >&2; exit 1; fi

# Every fuzz target for FUZZ_SECONDS each, from its seed corpus, in the sanitizer build (libFuzzer
# needs Clang). What a target finds goes to its scratch corpus in the build tree; a fault fails the
# run, its input saved as $(SAN_BUILD)/fuzz/artifacts/<target>-crash-*. FUZZ_JOBS targets run at once;
# FUZZ_ONLY=<regex> runs only the targets whose name matches.
fuzz: setup
	@cmake -S . -B $(SAN_BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQEL_SANITIZE=ON \
	  -DQEL_BUILD_BENCHMARKS=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
	@cmake --build $(SAN_BUILD) --target fuzzers -j $(JOBS)
	@bash scripts/fuzz.sh $(SAN_BUILD) $(FUZZ_SECONDS) $(FUZZ_JOBS) '$(FUZZ_ONLY)'

install: build
	@cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	@rm -rf $(BUILD) $(SAN_BUILD) build-bench
