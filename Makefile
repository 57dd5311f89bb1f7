# make          builds everything           make asan    the suite under the sanitizers
# make demo     shows it working            make bench   measures
# make test     runs the whole suite        make lint    checks the sources
# make format   formats the sources         make install PREFIX=/usr/local
# make conformance    runs public suites (fetched by npm and apt)
# make fuzz SECONDS=60  tries to break it: so long for each target   make faults   lets each allocation fail
# make manual   man pages and one HTML page of the documents, in build/manual
# make dist     an archive that runs anywhere   make deb   a Debian package   make uninstall PREFIX=/usr/local
.DELETE_ON_ERROR:
.PHONY: all product libraries demo test asan fuzz faults bench conformance lint format manual install uninstall dist deb clean configure-product configure-tests configure-asan

PREFIX ?= /usr/local
SECONDS ?= 60
# Ninja tells its progress on a terminal; elsewhere only faults.
BUILD_FLAGS := $(if $(VERBOSE),-v,$(shell [ -t 2 ] || echo --quiet))
BUILD = cmake --build --preset i386 --parallel

all: configure-tests
	@$(BUILD) -- $(BUILD_FLAGS)

product: configure-product
	@$(BUILD) --target kova kova-xml -- $(BUILD_FLAGS)

# Each task asks for the packages that it needs itself.
configure-product:
	@cmake/tools build -- cmake/sysroot build/sysroot product
	@cmake/fetch product
	@[ -f build/i386/build.ninja ] || cmake/progress Configuring cmake --preset product

configure-tests:
	@cmake/tools build test
	@cmake/fetch
	@grep -qsx KOVA_TESTS:BOOL=ON build/i386/CMakeCache.txt || cmake/progress Configuring cmake --preset i386

configure-asan: configure-tests
	@[ -f build/i386-asan/build.ninja ] || cmake/progress Configuring cmake --preset i386-asan

# libxml2 and libxslt as the packages have them; what is built takes them from there too.
libraries: product
	@cmake/libraries/build build/i386

demo: product
	@build/i386/kova run examples/tour.kova

test: all libraries
	@ctest --preset i386 --parallel $$(nproc)

asan: configure-asan
	@cmake --build --preset i386-asan --parallel -- $(BUILD_FLAGS)
	@ctest --preset i386-asan --parallel $$(nproc)

fuzz: configure-tests
	@cmake/tools fuzz
	@[ -f build/i386-fuzz/build.ninja ] || cmake/progress Configuring cmake --preset i386-fuzz
	@cmake --build --preset i386-fuzz --parallel -- $(BUILD_FLAGS)
	@tests/fuzz/run $(SECONDS)

faults: all
	@$(BUILD) --target failing_malloc -- $(BUILD_FLAGS)
	@tests/faults/run build/i386

bench: configure-tests
	@cmake/tools bench
	@cmake/sysroot build/peers peers
	@$(BUILD) --target benchmarks -- $(BUILD_FLAGS)
	@cmake/libraries/build build/i386
	@bench/run

conformance: configure-tests
	@cmake/tools conformance
	@$(BUILD) --target kova kova-xml test_extension -- $(BUILD_FLAGS)
	@tests/conformance/run

lint: configure-asan
	@cmake/tools lint
	@cmake/updates build
	@cmake --build --preset i386-asan --target generated_sources -- $(BUILD_FLAGS)
	@cmake/lint build/i386-asan

format:
	@cmake/tools lint
	@git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format -i

manual:
	@cmake/tools manual
	@cmake/manual . build/manual

install: libraries manual
	@cmake --install build/i386 --strip --prefix "$(PREFIX)"

uninstall:
	@packaging/uninstall "$(DESTDIR)$(PREFIX)"

# Packages, in build/packages: an archive that runs from any folder, and one for Debian.
dist: product manual
	@cmake/libraries/build build/i386 exact
	@packaging/build archive build/i386 build/packages

deb: product manual
	@cmake/libraries/build build/i386 exact
	@packaging/build deb build/i386 build/packages

clean:
	rm -rf build
