#!/usr/bin/env bash
# The whole check of Mirel 2.5D on a fresh Debian machine:
#   1. set-up (installs what is missing)
#   2. Release build with warnings as errors, benchmarks compiled (not run), full test suite,
#      and the mirel tool's end-to-end walkthrough (scripts/walkthrough.sh)
#   3. AddressSanitizer + UndefinedBehaviorSanitizer build, full test suite
#   4. ThreadSanitizer build, the threaded suites (*Threads*, *Parallel*)
#   5. libFuzzer harnesses built with clang, ASan and UBSan, each run briefly
#   6. install into a temporary prefix and build and run examples/consumer against it
# Build folders (build, build-asan, build-tsan) are kept, so a second run is incremental.
# Exits non-zero on the first failure.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

jobs=$(nproc 2>/dev/null || echo 2)
start=$SECONDS
stageStart=$SECONDS
stage() {
	echo
	echo "=== test: $1 ($((SECONDS - start)) s elapsed)"
	stageStart=$SECONDS
}
stageDone() {
	echo "=== test: done in $((SECONDS - stageStart)) s"
}

# ctest runs the tests one after the other: they share build/tests/work and the
# files written there (MIREL_LOG.txt, drawings).
runTests() {
	local buildDir=$1
	shift
	(cd "$buildDir" && "$@" ctest --output-on-failure --timeout 1800 "${ctestArgs[@]}")
}

stage "set-up"
bash scripts/setup.sh
stageDone

stage "Release build and full test suite"
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DMIREL25D_WERROR=ON \
	-DMIREL25D_BUILD_TESTS=ON -DMIREL25D_BUILD_BENCH=ON -DMIREL25D_BUILD_APPS=ON -DMIREL25D_SANITIZE=
cmake --build build -j"$jobs"
ctestArgs=()
runTests build
stageDone

# The README's walkthrough of the mirel tool on its synthetic site, with its
# outputs checked (GIS formats, known volumes and heights, bad input).
stage "end-to-end walkthrough of the mirel tool"
bash scripts/walkthrough.sh build/apps/mirel build/walkthrough
stageDone

# Sanitizer builds: -O1 -g keeps them quick to build and still readable in reports.
sanitizerFlags=(-DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -g"
	-DMIREL25D_BUILD_TESTS=ON -DMIREL25D_BUILD_BENCH=OFF -DMIREL25D_BUILD_APPS=OFF)

stage "AddressSanitizer + UndefinedBehaviorSanitizer build and full test suite"
cmake -S . -B build-asan "${sanitizerFlags[@]}" -DMIREL25D_SANITIZE=address,undefined
cmake --build build-asan -j"$jobs"
export ASAN_OPTIONS="detect_leaks=1:detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1:halt_on_error=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
runTests build-asan
unset ASAN_OPTIONS UBSAN_OPTIONS
stageDone

stage "ThreadSanitizer build and threaded suites"
cmake -S . -B build-tsan "${sanitizerFlags[@]}" -DMIREL25D_SANITIZE=thread
cmake --build build-tsan -j"$jobs"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1"
# On kernels with many bits of mmap randomisation ThreadSanitizer cannot map
# its shadow memory; running without address-space randomisation fixes that.
tsanPrefix=()
if ! build-tsan/tests/mirel_tests --gtest_list_tests >/dev/null 2>&1; then
	if setarch "$(uname -m)" -R build-tsan/tests/mirel_tests --gtest_list_tests >/dev/null 2>&1; then
		echo "test: ThreadSanitizer needs address-space randomisation off here; running under setarch -R"
		tsanPrefix=(setarch "$(uname -m)" -R)
	else
		echo "test: the ThreadSanitizer build does not start:" >&2
		build-tsan/tests/mirel_tests --gtest_list_tests >&2 || true
		exit 1
	fi
fi
ctestArgs=(-R "Threads|Parallel")
runTests build-tsan "${tsanPrefix[@]}"
ctestArgs=()
unset TSAN_OPTIONS
stageDone

# A short run of every harness: enough to catch a harness that no longer
# builds or an input class that now crashes; long runs are scripts/fuzz.sh.
# Kept short because conforming constraints around very small angles can still
# take minutes and gigabytes under the sanitizers (tests/regression/slow/): a
# longer smoke run meets such an input by chance and fails on time, not on a
# wrong result.
stage "libFuzzer harnesses (clang, ASan + UBSan), 5 s each"
bash scripts/fuzz.sh 5
stageDone

stage "install and build examples/consumer against the installed package"
prefix=$(mktemp -d "${TMPDIR:-/tmp}/mirel25d-install.XXXXXX")
trap 'rm -rf "$prefix"' EXIT
cmake --install build --prefix "$prefix"
rm -rf build-consumer
cmake -S examples/consumer -B build-consumer -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix"
cmake --build build-consumer -j"$jobs"
(cd build-consumer && ./consumer) # it writes its drawing there
stageDone

echo
echo "=== test: all checks passed in $((SECONDS - start)) s"
