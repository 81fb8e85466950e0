# The two everyday commands: `make run` builds the Release engine and starts it,
# `make test` builds everything and runs the whole test suite.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)

.PHONY: all build run test bench sanitize clean

all: build

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release

build: $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	./$(BUILD_DIR)/quorl

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# The engine's own bench and the time to depth of 1 against 2 processes
# always run; the make/unmake one needs Google Benchmark.
bench: build
	./$(BUILD_DIR)/quorl bench
	./$(BUILD_DIR)/quorl_time_to_depth
	@if [ -x $(BUILD_DIR)/quorl_bench ]; then ./$(BUILD_DIR)/quorl_bench; \
	else echo "Google Benchmark not found: install libbenchmark-dev for the make/unmake bench"; fi

# The test suite built with AddressSanitizer and UndefinedBehaviorSanitizer,
# long tests left out (the sanitizers make them slow).
SANITIZE_DIR ?= build-sanitize
sanitize:
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORL_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	cd $(SANITIZE_DIR) && ctest --output-on-failure -j $(JOBS) -LE long

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR)
