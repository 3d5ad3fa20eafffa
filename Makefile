# Front door of the repository. Each target first makes sure that the Debian packages it needs are there.
PREFIX  ?= /usr/local
DESTDIR ?=
ENSURE  := tools/ensure-packages.sh

.PHONY: help run test clients lint docs bench fuzz loop kill coverage install clean

help:
	@echo "make run        build, and carry an example edit out on an emulated device"
	@echo "make test       static checks, and the whole suite under GCC and under Clang with sanitizers"
	@echo "make clients    the guide's NETCONF clients, yangcli and Ansible among them, which are large to install"
	@echo "make lint       formatting, clang-tidy, YANG module, scripts"
	@echo "make docs       write docs/conformance.md: what the module sends and refuses, node by node"
	@echo "make bench      benchmarks, optimised build"
	@echo "make fuzz       fuzz every harness for FUZZ_SECONDS (60) seconds"
	@echo "make loop       LOOP_EDITS (1000000) random edits to the emulated device, optimised build; LOOP_SEED"
	@echo "make kill       kills a host, its store and its device KILLS (500) times each, optimised build"
	@echo "make coverage   line and branch coverage of the suite, in build/coverage"
	@echo "make install    into PREFIX ($(PREFIX)), below DESTDIR for packaging"
	@echo "make clean      remove build/"

run:
	@$(ENSURE) build
	@cmake --preset release >/dev/null
	@cmake --build --preset release
	build/release/host/cli/qn-ips apply examples/create-webguard.xml

test:
	@$(ENSURE) test
	@tools/test.sh

clients:
	@$(ENSURE) clients
	@cmake --preset debug >/dev/null
	@cmake --build build/debug --target serve_test
	build/debug/tests/host/netconf/serve_test --gtest_filter='Clients*:Ssh*'

lint:
	@$(ENSURE) lint
	@tools/checks.sh
	@cmake --preset clang -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
	@tools/tidy.sh build/lint

docs:
	@$(ENSURE) test
	@cmake --preset debug >/dev/null
	@tools/docs.sh build/debug

bench:
	@$(ENSURE) bench
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench
	@tools/bench.sh build/bench

fuzz:
	@$(ENSURE) fuzz
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@tools/fuzz.sh build/fuzz $(or $(FUZZ_SECONDS),60)

loop:
	@$(ENSURE) test
	@cmake --preset release -B build/loop -D BUILD_TESTING=ON >/dev/null
	@cmake --build build/loop --target closed_loop_test
	QN_IPS_EDITS=$(or $(LOOP_EDITS),1000000) QN_IPS_SEED=$(or $(LOOP_SEED),1) \
		build/loop/tests/closed_loop/closed_loop_test

kill:
	@$(ENSURE) test
	@cmake --preset release -B build/loop -D BUILD_TESTING=ON >/dev/null
	@cmake --build build/loop --target transaction_test host_store_test host_platform_test
	QN_IPS_KILLS=$(or $(KILLS),500) build/loop/tests/closed_loop/transaction_test --gtest_filter='Crash*'
	QN_IPS_KILLS=$(or $(KILLS),500) build/loop/tests/host/store/host_store_test --gtest_filter='*Crash*'
	QN_IPS_KILLS=$(or $(KILLS),500) build/loop/tests/host/platform/host_platform_test --gtest_filter='*Kill*'

coverage:
	@$(ENSURE) coverage
	@tools/coverage.sh build/coverage

install:
	@$(ENSURE) install
	@cmake --preset install -D CMAKE_INSTALL_PREFIX=$(PREFIX) >/dev/null
	@cmake --build --preset install
	DESTDIR=$(DESTDIR) cmake --install build/install

clean:
	rm -rf build
