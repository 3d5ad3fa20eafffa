#!/usr/bin/env bash
# Runs every benchmark program of a build; the results are also left as JSON beside the programs.
#
#   tools/bench.sh BUILD_DIR
set -euo pipefail
build=$1
ran=0
for program in "$build"/bench/programs/*_bench; do
    [[ -x $program ]] || continue
    echo "== $(basename "$program")"
    "$program" --benchmark_out="$program.json" --benchmark_out_format=json
    ran=$((ran + 1))
done
if ((ran == 0)); then
    echo "bench: no benchmark in $build" >&2
    exit 1
fi
