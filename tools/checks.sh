#!/usr/bin/env bash
# Checks that need no build: one function a check, each of which prints what is wrong and returns non-zero.
#
#   tools/checks.sh [format|yang|scripts|listed]...       all of them by default
set -uo pipefail
cd "$(dirname "$0")/.."

check_format() { # every source file is as clang-format writes it
    tools/sources.sh | xargs clang-format --dry-run -Werror
}

check_yang() { # the YANG modules are valid and draw no warning
    local output
    output=$(yanglint -p /usr/share/yuma/modules/ietf yang/*.yang 2>&1) || {
        echo "$output"
        return 1
    }
    if [[ -n $output ]]; then
        echo "$output"
        return 1
    fi
}

check_scripts() { # every shell script parses
    local script status=0
    for script in tools/*.sh .ci/run; do
        bash -n "$script" || status=1
    done
    return $status
}

check_listed() { # every source file that is compiled by itself stands in the CMakeLists.txt of a folder above it
    local file folder status=0
    while read -r file; do
        folder=$(dirname "$file")
        while [[ ! -f $folder/CMakeLists.txt ]]; do folder=$(dirname "$folder"); done
        if ! grep -qF "${file#"$folder"/}" "$folder/CMakeLists.txt"; then
            echo "$file: not in $folder/CMakeLists.txt"
            status=1
        fi
    done < <(tools/sources.sh | grep -E '\.(cpp|c)$')
    return $status
}

failed=0
if (($# == 0)); then set -- format yang scripts listed; fi
for check in "$@"; do
    if "check_$check"; then
        echo "$check: passed"
    else
        echo "$check: FAILED"
        failed=1
    fi
done
exit $failed
