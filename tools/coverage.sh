#!/usr/bin/env bash
# Builds the suite with coverage, runs it and reports line and branch coverage of transapi/ and host/; the pages go to
# BUILD_DIR/report/index.html.
#
#   tools/coverage.sh BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
jobs=$(nproc)
cmake --preset coverage -B "$build" >/dev/null
cmake --build "$build" -j "$jobs"
find "$build" -name '*.gcda' -delete
ctest --test-dir "$build" -j "$jobs" --no-tests=error --output-on-failure --progress
mkdir -p "$build/report"
gcovr --root . --filter transapi/ --filter host/ --exclude-throw-branches --exclude-unreachable-branches -j "$jobs" \
    --object-directory "$build" --print-summary --html-details "$build/report/index.html" --txt "$build/report/lines.txt" \
    "$build"
cat "$build/report/lines.txt"
