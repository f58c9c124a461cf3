# make demo   builds and shows what the library sees on the bundled cluster
# make test   builds and runs the whole test suite
# make bench  builds and runs the benchmarks

BUILD ?= build
JOBS ?= 2
WINE_RUN = WINEPREFIX=$(CURDIR)/$(BUILD)/wineprefix scripts/wine-run

.PHONY: all deps configure build prefix test demo bench clean

all: build

deps:
	@scripts/install-deps

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release

configure: deps $(BUILD)/CMakeCache.txt

build: configure
	cmake --build $(BUILD) -j$(JOBS)

prefix: deps
	@WINEPREFIX=$(CURDIR)/$(BUILD)/wineprefix scripts/wine-prefix

test: build prefix
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The demo shows the demo, not the build: the build's output goes to a log
# file and is shown only when the build fails.
DEMO_LOG = $(BUILD)/demo-build.log
demo:
	@mkdir -p $(BUILD)
	@echo "Building in $(BUILD)/ (the first build takes several minutes; log: $(DEMO_LOG))" >&2
	@if ! $(MAKE) --no-print-directory BUILD=$(BUILD) JOBS=$(JOBS) build prefix >$(DEMO_LOG) 2>&1; then \
	  cat $(DEMO_LOG) >&2; \
	  echo "make demo: the build failed; its output is above and in $(DEMO_LOG)" >&2; \
	  exit 1; \
	fi
	@scripts/demo $(BUILD)

bench: build prefix
	@$(WINE_RUN) $(BUILD)/test-bin/orvbench.exe

clean:
	-WINEPREFIX=$(CURDIR)/$(BUILD)/wineprefix wineserver -k 2>/dev/null
	rm -rf $(BUILD)
