# Shared by run.sh, test.sh and bench.sh: what is installed, how it is built, and the virtual display.
# Sourced with bash from the repository's root.

# A bare service environment has none; ccache and the recorder's data folder want one.
: "${HOME:=$(getent passwd "$(id -u)" | cut -d: -f6)}"
export HOME

# What the client and the demo recorder build with and run on.
build_packages=(
    cmake ninja-build ccache g++ lld git pkg-config
    qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-websockets-dev
    libgl-dev libmpv-dev libx264-dev
    libgstrtspserver-1.0-dev libgstreamer-plugins-base1.0-dev
    gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
    qml6-module-qtquick-templates qml6-module-qtquick-window qml6-module-qtquick-dialogs
    qml6-module-qtcore qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qt-labs-settings qml6-module-qt-labs-folderlistmodel
    libgl1-mesa-dri fonts-dejavu-core xvfb imagemagick x11-utils
)
# What the tests and benchmarks need on top.
test_packages=(
    clang-format clang-tidy qml6-module-qttest ffmpeg mpv xdotool openbox python3 curl locales
)

# The compiler cache, told to take part in builds with precompiled headers.
compiler_launcher="env;CCACHE_DEPEND=1;CCACHE_SLOPPINESS=pch_defines,time_macros;ccache"

# install_packages NAME...: installs the Debian packages that are missing, and does nothing when none is.
install_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f='${Status}\n' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [TARGET...]: configures once and builds what changed.
build() {
    local preset=$1 targets=()
    shift
    [ $# -gt 0 ] && targets=(--target "$@")
    if [ ! -f "build/$preset/build.ninja" ]; then
        cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER="$compiler_launcher"
    fi
    cmake --build "build/$preset" "${targets[@]}"
}

# tied COMMAND... (in the background): a process that ends when this script does, however it ends.
tied() {
    exec setpriv --pdeathsig TERM "$@"
}

# start_display WIDTHxHEIGHT: starts a virtual X display and directs programs to it, whatever the session of the
# caller is; stop_display ends it.
start_display() {
    local out number=
    exec {out}< <(tied Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp 3>&1 >/dev/null 2>&1)
    display_pid=$!
    read -r number <&"$out" || { echo "The virtual display does not start." >&2; return 1; }
    exec {out}<&-
    export DISPLAY=":$number" QT_QPA_PLATFORM=xcb
}

stop_display() {
    end "${display_pid:-}"
    display_pid=
}

# end PID...: ends processes of this script and waits until they are gone.
end() {
    local pid
    for pid in "$@"; do
        [ -z "$pid" ] || { kill "$pid" && wait "$pid"; } 2>/dev/null || true
    done
}
