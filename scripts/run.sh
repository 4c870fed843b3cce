#!/usr/bin/env bash
# Sets up the machine, builds Mirel 2.5D and runs the command-line tool `mirel`
# on its built-in data set. Arguments are passed on to the tool. The tool's
# output files land in build/run/.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DMIREL25D_BUILD_APPS=ON
cmake --build build -j"$jobs"

tool="$root/build/apps/mirel"
# Asking for the target (not the file) ignores a stale executable of an older checkout.
if ! cmake --build build --target mirel >/dev/null 2>&1 || [ ! -x "$tool" ]; then
	echo "run: the command-line tool 'mirel' is not part of this checkout yet (apps/ has no sources), nothing to run" >&2
	exit 1
fi
mkdir -p build/run
cd build/run
echo "run: $tool $* (output files in $PWD)"
exec "$tool" "$@"
