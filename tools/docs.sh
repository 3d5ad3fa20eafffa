#!/usr/bin/env bash
# Writes docs/conformance.md anew: what the module sends and refuses, node by node.
#
#   tools/docs.sh BUILD_DIR           of a configured build with tests
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
cmake --build "$build" --target conformance_table
mkdir -p docs
"$build/tests/conformance/conformance_table" >"$build/conformance.md"
mv "$build/conformance.md" docs/conformance.md
