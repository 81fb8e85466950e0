# The two everyday commands: `make run` builds the Release engine and starts it,
# `make test` builds everything and runs the whole test suite.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)

.PHONY: all build run test bench clean

all: build

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release

build: $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	./$(BUILD_DIR)/quorl

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

bench: build
	@if [ -x $(BUILD_DIR)/quorl_bench ]; then ./$(BUILD_DIR)/quorl_bench; \
	else echo "Google Benchmark not found: install libbenchmark-dev"; exit 1; fi

clean:
	rm -rf $(BUILD_DIR)
