#!/usr/bin/env bash
# Runs clang-tidy over the files of a configured build; a warning is an error. A file that is compiled several times is
# read once.
#
#   tools/tidy.sh BUILD_DIR [PATTERN [CHECKS]]
#
#   PATTERN   only files whose path matches
#   CHECKS    added to those of .clang-tidy, as "-bugprone-*,misc-*"
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
pattern=${2:-.}
checks=${3:-}

# The faulty modules of the loader's tests are not held to the rules of the code.
files=$(grep -oP '^\s*"file": "\K[^"]+' "$build/compile_commands.json" | sort -u |
    grep -v '/broken_modules/' | grep -E "$pattern" || true)
if [[ -z $files ]]; then
    echo "tidy: no file in $build matches $pattern" >&2
    exit 1
fi

# The counts of suppressed warnings in system headers are noise; a finding in a header comes once for each includer.
xargs -P "$(nproc)" -n 1 clang-tidy --quiet --checks="$checks" -p "$build" <<<"$files" 2>&1 |
    awk '/^[0-9]+ warnings?( and [0-9]+ errors?)? (generated|treated)/ || /^Suppressed / || /^Use -header-filter/ { next }
         /(warning|error):/ { shown = !seen[$0]++ }
         shown { print; fflush() }'
