#!/usr/bin/env bash
# Installs what is missing, builds a release, and measures it beside its baselines.
#   ./bench.sh live [--only cpu,first-frame,blocks,start,list] [--counts 1,4,16,64]
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

if [ "${1:-}" != live ]; then
    sed -n '3,3s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
shift
install_packages "${build_packages[@]}" "${test_packages[@]}"
build release
ZORVEL_BUILD_DIR=build/release python3 bench/live.py "$@"
