#!/usr/bin/env bash
# Installs what is missing, builds a release, and measures it beside its baselines.
#   ./bench.sh live
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

install_packages "${build_packages[@]}" "${test_packages[@]}"
build release
trap stop_display EXIT
start_display 2640x1520
case ${1:-} in
    live) python3 bench/live.py build/release ;;
    *) sed -n '3,3s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
