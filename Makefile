# make          builds everything           make asan    the suite under the sanitizers
# make demo     shows it working            make bench   measures
# make test     runs the whole suite        make lint    checks format and clang-tidy
# make format   formats the sources         make install PREFIX=/usr/local
# make conformance    runs public suites (fetched by npm)
.DELETE_ON_ERROR:
.PHONY: all demo test asan bench conformance lint format install tools clean

PREFIX ?= /usr/local
QUIET := $(if $(VERBOSE),,>build/configure.log || { cat build/configure.log >&2; exit 1; })

all: build/i386/build.ninja
	@cmake --build --preset i386 --parallel -- $(if $(VERBOSE),-v,--quiet)

tools:
	@cmake/tools
	@mkdir -p build
	@cmake/sysroot build/sysroot

build/%/build.ninja: | tools
	@cmake --preset $* $(QUIET)

demo: all
	@build/i386/kova run examples/tour.kova

test: all
	@ctest --preset i386 --parallel $$(nproc)

asan: build/i386-asan/build.ninja
	@cmake --build --preset i386-asan --parallel -- $(if $(VERBOSE),-v,--quiet)
	@ctest --preset i386-asan --parallel $$(nproc)

bench: all
	@bench/run

conformance: all
	@tests/conformance/run

lint: tools
	@cmake --preset i386 $(QUIET)
	@cmake/lint build/i386

format: tools
	@git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format -i

install: all
	@cmake --install build/i386 --prefix $(PREFIX)

clean:
	rm -rf build
