# The ways in: "make demo" and "make test" install what they need, by scripts/setup.sh.

.PHONY: help demo test test-linux test-windows test-tsan test-asan test-packages test-watch package docs check-format check-layers bench fuzz soak panel pictures format clean

help:
	@echo "make demo          build, and run a sale at the till on the simulated device"
	@echo "make panel         the machine and a till beside it, both in the browser, until Ctrl-C"
	@echo "make test          all tests: format, layers, docs, Linux, Windows under Wine, packages, sanitizers"
	@echo "make test-linux    the tests on Linux"
	@echo "make test-windows  the tests built for Windows, under Wine"
	@echo "make test-tsan     the tests with the thread sanitizer"
	@echo "make test-asan     the tests with the address and undefined-behaviour sanitizers"
	@echo "make test-packages make the packages and use each in an empty place"
	@echo "make test-watch    withhold each text of the library in turn: which one would no test miss? (some minutes)"
	@echo "make package       fill dist/ with the packages for Debian, Linux, Windows, NuGet and Python"
	@echo "make docs          the reference and the pages as HTML in build/docs/html, with every link looked at"
	@echo "make soak          ten million sales by seed, and a hundred kills of the machine and of the till"
	@echo "make check-format  find what clang-format would change"
	@echo "make check-layers  find includes that point up, and knowledge of the operating system outside platform/"
	@echo "make pictures      take the README's pictures anew"
	@echo "make bench         measure what the library costs, beside what limits it"
	@echo "make fuzz          look for inputs that do harm, five minutes a target (FUZZ_SECONDS=...)"
	@echo "make format        format all sources"
	@echo "make clean         remove everything that was built"

demo:
	@scripts/setup.sh demo
	cmake --preset linux
	cmake --build --preset linux --target till tellarion
	build/linux/till sale

panel:
	@scripts/setup.sh demo
	cmake --preset linux
	cmake --build --preset linux --target till tellarion
	@scripts/panel.sh

test:
	@scripts/test.sh format layers docs linux windows packages tsan asan

test-linux test-windows test-tsan test-asan test-packages:
	@scripts/test.sh $(@:test-%=%)

package:
	@scripts/setup.sh packages
	cmake --preset linux
	cmake --build --preset linux --target all
	cmake --preset windows
	cmake --build --preset windows --target all
	@scripts/package.py

test-watch:
	@scripts/setup.sh linux
	@scripts/watch.pl

docs:
	@scripts/test.sh docs

soak:
	@scripts/soak.sh

check-format check-layers:
	@scripts/test.sh $(@:check-%=%)

bench:
	@scripts/bench.sh

pictures:
	@scripts/setup.sh linux
	cmake --preset linux
	cmake --build --preset linux --target till tellarion
	python3 tests/pages_test.py build/linux docs/pictures

fuzz:
	@scripts/fuzz.sh

format:
	@scripts/setup.sh format
	@scripts/format.sh

clean:
	rm -rf build dist
