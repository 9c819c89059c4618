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
scripts/check-qml.py "$build_dir"

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
