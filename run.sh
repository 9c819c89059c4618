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
    [[ $seconds =~ ^[0-9]+([.][0-9]+)?$ ]] || { echo "SECONDS must be a number, not \"$seconds\"." >&2; exit 2; }
    picture=$(realpath -m "$3")
elif [ $# -ne 0 ]; then
    sed -n '2,4s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi

install_packages "${build_packages[@]}"
build dev zorvel-client zorvel-demo-recorder

recorder_pid= client_pid=
cleanup() {
    end "$client_pid" "$recorder_pid"
    stop_display
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# start_recorder PORT RTSP_PORT: returns once it serves; fails when a port is taken.
start_recorder() {
    local data=${XDG_DATA_HOME:-$HOME/.local/share}/zorvel-demo-recorder out
    exec {out}< <(tied build/dev/demo/zorvel-demo-recorder --data "$data" --port "$1" --rtsp-port "$2")
    recorder_pid=$!
    read -r ready <&"$out" || { wait "$recorder_pid" || true; recorder_pid=; return 1; }
}

if ! start_recorder 8090 8554; then
    start_recorder 0 0
    port=${ready#*http=}
    echo "Port 8090 or 8554 is taken. The server to sign in to is http://127.0.0.1:${port%% *}"
fi

[ -z "$seconds" ] || start_display 1280x800
tied build/dev/src/app/zorvel-client &
client_pid=$!
if [ -z "$seconds" ]; then
    wait "$client_pid"
    exit
fi

sleep "$seconds" &
wait $!
kill -0 "$client_pid" || { echo "The client did not run for $seconds seconds." >&2; exit 1; }
import -window root "$picture"
echo "$picture"
