#!/usr/bin/env bash
# Opens a browser scene in headless Chromium (software WebGL, as in the tests)
# and prints the page's own report of its first frame: the time from the start
# of loading until the GPU has drawn the terrain, and the wall time of the
# whole browser run. Without an argument it writes the million-triangle scene
# of bench_scene first.
#   scripts/measure_first_frame.sh [SCENE_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
scene=${1:-}
if [ -z "$scene" ]; then
	cd "$root/build/bench"
	./bench_scene --benchmark_filter='BM_WriteWebScene/708'
	scene="$root/build/bench/bench_web_scene"
fi
scene=$(cd "$scene" && pwd)
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
sandbox=()
[ "$(id -u)" -eq 0 ] && sandbox=(--no-sandbox)
start=$(date +%s.%N)
chromium --headless --disable-gpu --use-angle=swiftshader --enable-unsafe-swiftshader "${sandbox[@]}" \
	--disable-background-networking --disable-component-update --disable-sync --no-first-run \
	--user-data-dir="$profile" --enable-logging=stderr --v=0 --window-size=1100,1100 \
	--screenshot="$scene/../first_frame.png" "file://$scene/index.html" 2>&1 | grep -o '"Mirel scene: [^"]*"' || true
end=$(date +%s.%N)
awk -v s="$start" -v e="$end" 'BEGIN { printf "browser run (start, load, first frame, screenshot, exit): %.1f s\n", e - s }'
