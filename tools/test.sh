#!/usr/bin/env bash
# The whole check of a working copy: static checks, then the suite under GCC and under Clang, both with the address and
# undefined-behaviour sanitizers. Goes on after a failure and ends with the line "N passed, N failed", in which a static
# check, a build and a test of CTest count as one each.
#
#   tools/test.sh [BUILD_ROOT]          default: build
#
# The closing line is also left in BUILD_ROOT/test-summary.txt.
set -uo pipefail
cd "$(dirname "$0")/.."

build_root=${1:-build}
jobs=$(nproc)
passed=0
failed=0
failures=()

# step NAME COMMAND...: one check, which counts as one.
step() {
    local name=$1
    shift
    echo "== $name"
    if "$@"; then
        ((passed += 1))
    else
        ((failed += 1))
        failures+=("$name")
        return 1
    fi
}

attribute() { # attribute NAME FILE: a number of the first <testsuite> of a JUnit report
    grep -m1 -oE "\\b$1=\"[0-9]+\"" "$2" | grep -oE '[0-9]+'
}

build() {
    cmake --preset "$1" -B "$build_root/$1" >"$build_root/$1.configure.log" || {
        cat "$build_root/$1.configure.log"
        return 1
    }
    cmake --build "$build_root/$1" -j "$jobs"
}

# suite PRESET: builds, runs every test and adds the counts of the report.
suite() {
    local preset=$1 report total bad skipped status=0
    step "build $preset" build "$preset" || return
    report=$(realpath "$build_root")/$preset.junit.xml
    rm -f "$report"
    echo "== suite $preset"
    (
        export ASAN_OPTIONS=strict_string_checks=1:detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
        ctest --test-dir "$build_root/$preset" -j "$jobs" --no-tests=error --output-on-failure --progress \
            --output-junit "$report"
    ) || status=$?
    if [[ ! -s $report ]]; then
        ((failed += 1))
        failures+=("suite $preset: no report")
        return
    fi
    total=$(attribute tests "$report")
    bad=$(attribute failures "$report")
    skipped=$(($(attribute disabled "$report") + $(attribute skipped "$report")))
    echo "$preset: $((total - bad - skipped)) passed, $bad failed, $skipped not run"
    ((passed += total - bad - skipped))
    ((failed += bad))
    if ((bad > 0)); then
        failures+=("suite $preset: $bad")
    elif ((status != 0)); then
        ((failed += 1))
        failures+=("suite $preset: ctest ended with $status")
    fi
}

mkdir -p "$build_root"
rm -f "$build_root/test-summary.txt"

for check in scripts listed format yang; do
    step "$check" tools/checks.sh "$check"
done
suite asan
suite clang-asan
if [[ -f $build_root/clang-asan/compile_commands.json ]]; then
    step clang-tidy tools/tidy.sh "$build_root/clang-asan"
fi

if ((failed > 0)); then
    printf 'failed: %s\n' "${failures[@]}"
fi
echo "$passed passed, $failed failed" | tee "$build_root/test-summary.txt"
((failed == 0))
