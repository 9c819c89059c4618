#!/usr/bin/env bash
# clang-format, clang-tidy and qmllint over the project's own files; any finding fails the check.
#   check-style.sh BUILD_DIRECTORY [format] [qml] [tidy]     all three unless some are named
# A file that passed clang-tidy is not read again until it, a header or the configuration changes.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=$1
shift

check_format() {
    echo "clang-format"
    git ls-files --cached --others --exclude-standard '*.cpp' '*.h' | xargs -r clang-format --dry-run -Werror
}

check_qml() {
    echo "qmllint"
    scripts/check-qml.py "$build_dir"
}

check_tidy() {
    echo "clang-tidy"
    stamps=$build_dir/tidy
    mkdir -p "$stamps"
    # Without the precompiled headers: they are another compiler's, and would hide that an include is missing.
    sed 's/ -Winvalid-pch -include [^ ]*//' "$build_dir/compile_commands.json" >"$stamps/compile_commands.json"
    headers=$(git ls-files --cached --others --exclude-standard 'src/*.h' 'demo/*.h' .clang-tidy | xargs cat | sha256sum)
    export stamps headers
    git ls-files --cached --others --exclude-standard 'src/*.cpp' 'demo/*.cpp' | xargs -r -P "$(nproc)" -I{} bash -c '
        stamp=$stamps/$( (cat "{}"; echo "{} $headers") | sha256sum | cut -d" " -f1)
        [ -f "$stamp" ] && exit 0
        grep -qF "$(realpath "{}")" "$stamps/compile_commands.json" || exit 0
        clang-tidy -p "$stamps" --quiet "{}" 2>/dev/null || exit 255
        touch "$stamp"'
}

[ $# -gt 0 ] || set -- format qml tidy
for check in "$@"; do
    "check_$check"
done
