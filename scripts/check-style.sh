#!/usr/bin/env bash
# clang-format, clang-tidy and qmllint over the project's own files; any finding fails the check.
#   check-style.sh BUILD_DIRECTORY
# A file that passed clang-tidy is not read again until it, a header or the configuration changes.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=$1

echo "clang-format"
git ls-files --cached --others --exclude-standard '*.cpp' '*.h' | xargs -r clang-format --dry-run -Werror

echo "qmllint"
qmllint=$(command -v qmllint6 || echo /usr/lib/qt6/bin/qmllint)
report=$(git ls-files --cached --others --exclude-standard 'qml/*.qml' \
    | xargs -r "$qmllint" -I "$build_dir" 2>&1) || { echo "$report"; exit 1; }
if grep -qE '^(Warning|Error):' <<<"$report"; then
    echo "$report"
    exit 1
fi

echo "clang-tidy"
stamps=$build_dir/tidy
mkdir -p "$stamps"
headers=$(git ls-files --cached --others --exclude-standard 'src/*.h' 'demo/*.h' .clang-tidy | xargs cat | sha256sum)
export build_dir stamps headers
git ls-files --cached --others --exclude-standard 'src/*.cpp' 'demo/*.cpp' | xargs -r -P "$(nproc)" -I{} bash -c '
    stamp=$stamps/$( (cat "{}"; echo "{} $headers") | sha256sum | cut -d" " -f1)
    [ -f "$stamp" ] && exit 0
    grep -qF "$(realpath "{}")" "$build_dir/compile_commands.json" || exit 0
    clang-tidy -p "$build_dir" --quiet "{}" 2>/dev/null || exit 255
    touch "$stamp"'
