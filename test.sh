#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors, checks style and runs every test.
#   ./test.sh            everything
#   ./test.sh -L unit    only the tests that these CTest arguments select (the checks are skipped)
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

install_packages "${build_packages[@]}" "${test_packages[@]}"
build dev

tidy_pid=
cleanup() {
    [ -z "$tidy_pid" ] || kill -- "-$tidy_pid" 2>/dev/null || true
    stop_display
}
trap cleanup EXIT

if [ $# -eq 0 ]; then
    scripts/check-style.sh build/dev format qml
    # The tests wait most of the time. At idle priority clang-tidy, which takes longest of all, runs only then.
    idly=(nice -n 19)
    chrt --idle 0 true 2>/dev/null && idly=(chrt --idle 0)
    set -m
    "${idly[@]}" scripts/check-style.sh build/dev tidy >build/dev/tidy.log 2>&1 &
    tidy_pid=$!
    set +m
fi

failed=0
start_display 2640x1520
ctest --test-dir build/dev --output-on-failure --no-tests=error -j2 "$@" || failed=1
if [ -n "$tidy_pid" ]; then
    wait "$tidy_pid" || failed=1
    tidy_pid=
    cat build/dev/tidy.log
fi
exit $failed
