#!/usr/bin/env bash
# The whole check of a working copy: static checks, then the suite under GCC, and under Clang with the address and
# undefined-behaviour sanitizers (the preset "asan" is GCC with them; both together take too long for every check). Goes
# on after a failure and ends with the line "N passed, N failed", in which a static check, a build and a single test count
# as one each.
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

attribute() { # attribute NAME LINE: a number among the attributes of an XML element
    grep -oP "\\s$1=\"\\K[0-9]+" <<<"$2" || echo 0
}

build() {
    cmake --preset "$1" -B "$build_root/$1" >"$build_root/$1.configure.log" || {
        cat "$build_root/$1.configure.log"
        return 1
    }
    cmake --build "$build_root/$1" -j "$jobs"
}

# count_case PRESET NAME STATUS: adds what one test of CTest has run. A GoogleTest program counts by its report; a program
# that failed although its report knows of no failure (a crash, a leak at its end) counts as one failure more.
count_case() {
    local name=$2 status=$3 report=$build_root/$1/reports/$2.xml head good=0 bad=0
    if [[ -s $report ]]; then
        head=$(grep -m1 '<testsuites ' "$report")
        bad=$(($(attribute failures "$head") + $(attribute errors "$head")))
        skipped=$((skipped + $(grep -c 'result="skipped"' "$report") + $(attribute disabled "$head")))
        good=$(($(attribute tests "$head") - bad - $(attribute disabled "$head") - $(grep -c 'result="skipped"' "$report")))
    elif [[ $status == run ]]; then
        good=1
    fi
    if [[ $status != run ]] && ((bad == 0)); then bad=1; fi
    suite_passed=$((suite_passed + good))
    suite_failed=$((suite_failed + bad))
    if ((bad > 0)); then
        failures+=("$1 $name: $bad")
        if [[ -s $report ]]; then mapfile -t -O "${#failures[@]}" failures < <(failed_cases "$report"); fi
    fi
}

# failed_cases REPORT: each failed test of a GoogleTest program, with the beginning of what it says first.
failed_cases() {
    awk -F '"' '/<testcase /{ name = $2; for (i = 1; i < NF; i += 2) if ($i ~ / classname=$/) group = $(i + 1) }
                /<failure message="/ && !told[group "." name]++ { gsub(/&#x0A;/, " ", $2); print "    " group "." name ": " substr($2, 1, 300) }' "$1"
}

# suite PRESET: builds, runs every test and adds the counts.
suite() {
    local preset=$1 junit line suite_passed=0 suite_failed=0 skipped=0
    step "build $preset" build "$preset" || return
    junit=$(realpath "$build_root")/$preset.junit.xml
    rm -rf "$junit" "$build_root/$preset/reports"
    echo "== suite $preset"
    (
        export ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
        ctest --test-dir "$build_root/$preset" -j "$jobs" --no-tests=error --output-on-failure --output-junit "$junit"
    )
    while read -r line; do
        count_case "$preset" "$(grep -oP '\sname="\K[^"]+' <<<"$line")" "$(grep -oP '\sstatus="\K[^"]+' <<<"$line")"
    done < <(grep '<testcase ' "$junit")
    if ((suite_passed + suite_failed == 0)); then
        suite_failed=1
        failures+=("$preset: no test has run")
    fi
    echo "$preset: $suite_passed passed, $suite_failed failed, $skipped skipped or disabled"
    passed=$((passed + suite_passed))
    failed=$((failed + suite_failed))
}

mkdir -p "$build_root"
rm -f "$build_root/test-summary.txt"

for check in scripts listed format yang; do
    step "$check" tools/checks.sh "$check"
done
suite debug
suite clang-asan
if [[ -f $build_root/clang-asan/compile_commands.json ]]; then
    # The whole tree takes longer than the suite; `make lint` reads it.
    step "clang-tidy of the module" tools/tidy.sh "$build_root/clang-asan" "^$PWD/transapi/"
fi

if ((failed > 0)); then
    printf 'failed: %s\n' "${failures[@]}"
fi
echo "$passed passed, $failed failed" | tee "$build_root/test-summary.txt"
((failed == 0))
