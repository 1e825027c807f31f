# The two commands of the README, and the steps they are made of.
BUILD ?= build
JOBS ?= $(shell nproc)

.PHONY: deps configure build test demo clean

deps:
	bash scripts/install-deps

configure: deps
	cmake -S . -B $(BUILD) -G Ninja

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

demo: build
	bash scripts/demo $(BUILD)

clean:
	rm -rf $(BUILD)
