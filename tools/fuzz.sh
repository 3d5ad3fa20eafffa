#!/usr/bin/env bash
# Runs every fuzz harness of a build for a number of seconds. Starts from the kept seeds; what is found goes to the build.
#
#   tools/fuzz.sh BUILD_DIR SECONDS
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
seconds=$2
ran=0
for harness in "$build"/fuzz/harnesses/*_fuzz; do
    [[ -x $harness ]] || continue
    name=$(basename "$harness")
    found=$build/fuzz/found/$name
    mkdir -p "$found"
    echo "== $name, $seconds s"
    "$harness" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 -verbosity=0 \
        -artifact_prefix="$found-" "$found" "fuzz/corpus/$name"
    ran=$((ran + 1))
done
if ((ran == 0)); then
    echo "fuzz: no harness in $build" >&2
    exit 1
fi
echo "$ran harness(es), no failure"
