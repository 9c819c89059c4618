#!/usr/bin/env bash
# Installs what is missing, builds a release, and measures it beside its baselines.
#   ./bench.sh live    [--only cpu,first-frame,blocks,start,list] [--counts 1,4,16,64] [--seconds 6]
#   ./bench.sh archive [--only seek,export,repaint,cpu] [--rounds 7]
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

case "${1:-}" in
    live | archive) part=$1 ;;
    *)
        sed -n '3,4s/^# \{0,1\}//p' "$0" >&2
        exit 2
        ;;
esac
shift
install_packages "${build_packages[@]}" "${test_packages[@]}"
build release
PYTHONPATH=tests/support ZORVEL_BUILD_DIR=build/release python3 "bench/$part.py" "$@"
