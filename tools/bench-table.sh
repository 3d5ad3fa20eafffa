#!/usr/bin/env bash
# Runs the benchmark of edits and prints its table for docs/benchmarks.md. All rows come from one run, as medians: on a
# machine that is not alone only the ratios within one run mean anything.
#
#   tools/bench-table.sh BUILD_DIR
set -euo pipefail
build=$1

"$build"/bench/programs/edit_bench --benchmark_format=csv --benchmark_repetitions=5 \
    --benchmark_report_aggregates_only=true --benchmark_min_time=0.1 \
    2>/dev/null |
    awk -F, '
        function cell(name) { return $column[name] }
        $1 == "name" { for (i = 1; i <= NF; ++i) { gsub(/"/, "", $i); column[$i] = i }; next }
        $1 !~ /_median"?$/ { next }
        {
            name = $1; gsub(/"|_median/, "", name)
            split(name, part, "/"); family = part[1]; entries = part[2]
            if (family != last) {
                printf "\n| %s | time | to the row above | callbacks | lines | allocations | parse | apply | validate | callbacks | platform | store |\n", family
                print "|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|"
            }
            time = cell("cpu_time")
            ratio = family == last ? sprintf("x %.2f", time / before) : ""
            printf "| %d | %.3g %s | %s | %.0f | %.0f | %.0f |", entries, time, cell("time_unit"), ratio,
                   cell("callbacks"), cell("lines"), cell("allocations")
            printf " %.0f %% | %.0f %% | %.0f %% | %.0f %% | %.0f %% | %.0f %% |\n", cell("parse%"), cell("apply%"),
                   cell("validate%"), cell("callbacks%"), cell("platform%"), cell("store%")
            last = family; before = time
        }'
