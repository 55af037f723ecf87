# The two commands of the README. Each installs what it needs, configures and
# builds with Ninja, then does its job. The build itself is CMake's.
BUILD ?= build
CMAKE_FLAGS ?=

.PHONY: deps configure build demo test clean

deps:
	bash scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

configure: deps $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD)

demo: build
	bash examples/demo/build-demo.sh $(BUILD) $(BUILD)/demo-site

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j2

clean:
	rm -rf $(BUILD)
