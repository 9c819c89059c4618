#!/usr/bin/env bash
# Installs what is missing, builds, and starts the demo recorder and the client side by side.
#   ./run.sh                              on this desktop
#   ./run.sh --headless SECONDS FILE.png  on a virtual display for so many seconds; leaves a screenshot in FILE.png
set -euo pipefail
cd "$(dirname "$0")"
source scripts/common.sh

seconds= picture=
if [ "${1:-}" = --headless ] && [ $# -eq 3 ]; then
    seconds=$2
    picture=$(realpath -m "$3")
elif [ $# -ne 0 ]; then
    sed -n '2,4s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi

install_packages "${build_packages[@]}"
build dev zorvel-client zorvel-demo-recorder

recorder_pid=
cleanup() {
    [ -n "$recorder_pid" ] && kill "$recorder_pid" 2>/dev/null && wait "$recorder_pid" 2>/dev/null
    stop_display
    return 0
}
trap cleanup EXIT

data=${XDG_DATA_HOME:-$HOME/.local/share}/zorvel-demo-recorder
build/dev/demo/zorvel-demo-recorder --data "$data" &
recorder_pid=$!

if [ -z "$seconds" ]; then
    build/dev/src/app/zorvel-client
    exit
fi

start_display 1280x800
build/dev/src/app/zorvel-client &
client_pid=$!
sleep "$seconds"
import -window root "$picture"
kill "$client_pid"
wait "$client_pid" || true
echo "$picture"
