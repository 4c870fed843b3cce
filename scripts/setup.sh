#!/usr/bin/env bash
# Makes a fresh Debian machine ready to build and test Mirel 2.5D.
# Installs only what is missing; when everything is present it touches
# neither the network nor the package lists, so repeated runs are instant.
set -euo pipefail

packages=(
	build-essential g++ cmake   # compiler and build system
	libgmp-dev                  # exact rational arithmetic (library dependency)
	libgtest-dev                # GoogleTest
	libbenchmark-dev            # Google Benchmark
	libcgal-dev                 # oracle for differential tests, baseline for benchmarks
	ghostscript                 # renders the PostScript drawings in tests
	libjs-three                 # three.js, stored in the library for the browser scene
	chromium                    # opens the browser scene in tests (headless, software WebGL)
	libpng-dev                  # reads the browser test's screenshot
	libgdal-dev gdal-bin        # GIS formats of the mirel tool (rasters, vector layers) and the walkthrough's checks
	clang libfuzzer-14-dev libclang-rt-14-dev  # fuzz harnesses (scripts/fuzz.sh): libFuzzer and the sanitizer runtimes
)

missing=()
for package in "${packages[@]}"; do
	status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
	if [ "$status" != "install ok installed" ]; then
		missing+=("$package")
	fi
done

if [ ${#missing[@]} -eq 0 ]; then
	echo "setup: all build and test dependencies are installed"
	exit 0
fi

if [ "$(id -u)" -eq 0 ]; then
	asRoot=()
elif command -v sudo >/dev/null 2>&1; then
	asRoot=(sudo)
else
	echo "setup: missing packages: ${missing[*]}; run this script as root or install sudo" >&2
	exit 1
fi

echo "setup: installing ${missing[*]}"
"${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
"${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
