#!/usr/bin/env bash
# Lists the hand-written C and C++ files of the working copy, one a line.
set -euo pipefail
cd "$(dirname "$0")/.."
find bench fuzz host tests transapi -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) | sort
