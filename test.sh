#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors, checks style and runs every test.
#   ./test.sh            everything
#   ./test.sh -L unit    only the tests that these CTest arguments select (the checks are skipped)
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

install_packages "${build_packages[@]}" "${test_packages[@]}"
build dev

if [ $# -eq 0 ]; then
    scripts/check-style.sh build/dev
fi

trap stop_display EXIT
start_display 2640x1520
ctest --test-dir build/dev --output-on-failure --no-tests=error -j2 "$@"
