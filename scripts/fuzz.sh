#!/usr/bin/env bash
# Builds the libFuzzer harnesses of fuzz/ with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer into build-fuzz and runs each for SECONDS
# (default 60). A single input may run up to 10 minutes before it counts as
# a hang: conforming constraints around small angles are slow under the
# sanitizers (tests/regression/slow/). The corpora grow in build-fuzz/corpus/<harness>; a crashing
# input is left in build-fuzz/artifacts/ and fails the script. Prints the
# executions and the CPU time of each harness.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
seconds=${1:-60}
jobs=$(nproc 2>/dev/null || echo 2)
harnesses=(fuzz_predicates fuzz_insert_remove fuzz_constraints fuzz_zones fuzz_files)

CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -g" \
	-DMIREL25D_BUILD_FUZZ=ON -DMIREL25D_SANITIZE=address,undefined -DMIREL25D_BUILD_TESTS=OFF \
	-DMIREL25D_BUILD_BENCH=OFF -DMIREL25D_BUILD_APPS=OFF -DMIREL25D_INSTALL=OFF >/dev/null
cmake --build build-fuzz -j"$jobs" --target "${harnesses[@]}"

export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
mkdir -p build-fuzz/artifacts build-fuzz/logs
summary=()
status=0
for harness in "${harnesses[@]}"; do
	corpus=build-fuzz/corpus/$harness
	mkdir -p "$corpus"
	# The regression inputs seed the corpus.
	for input in tests/regression/fuzz_*."$harness".bin; do
		[ -e "$input" ] && cp -f "$input" "$corpus/"
	done
	log=build-fuzz/logs/$harness.log
	start=$(date +%s.%N)
	cpuBefore=$(awk '{print $14+$15+$16+$17}' /proc/$$/stat)
	if ! (cd build-fuzz && ./fuzz/$harness -max_total_time="$seconds" -timeout=600 -rss_limit_mb=4096 -max_len=4096 \
		-artifact_prefix=artifacts/$harness- -print_final_stats=1 corpus/$harness) >"$log" 2>&1; then
		status=1
		echo "fuzz: $harness FAILED, see $log and build-fuzz/artifacts/" >&2
		tail -40 "$log" >&2
	fi
	cpuAfter=$(awk '{print $14+$15+$16+$17}' /proc/$$/stat)
	ticks=$(getconf CLK_TCK)
	execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo "?")
	summary+=("$(awk -v h="$harness" -v e="$execs" -v c0="$cpuBefore" -v c1="$cpuAfter" -v t="$ticks" -v s="$start" -v now="$(date +%s.%N)" \
		'BEGIN { printf "%-20s %10s executions  %7.1f s CPU  %6.1f s wall", h, e, (c1 - c0) / t, now - s }')")
done
echo
echo "fuzz: ${seconds} s per harness"
printf '%s\n' "${summary[@]}"
exit $status
