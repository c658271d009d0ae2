#!/usr/bin/env bash
# Format, clang-tidy and clazy over the whole tree, or over the files named as arguments.
#   scripts/lint.sh [--fix-format] [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."

fix=--dry-run
if [ "${1:-}" = --fix-format ]; then fix=-i; shift; fi
if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files --cached --others --exclude-standard -- \
    'src/*.cpp' 'src/*.h' 'tools/*.cpp' 'tools/*.h' 'tests/*.cpp' 'tests/*.h' 'tests/*.c' \
    'fuzz/*.cpp' 'bench/*.cpp' 'bench/*.h')
fi

echo "== clang-format"
clang-format "$fix" --Werror "${files[@]}"

[ -f build/lint/compile_commands.json ] || cmake --preset lint >/dev/null
mapfile -t sources < <(printf '%s\n' "${files[@]}" | grep -E '^(src|tools)/.*\.cpp$' || true)
[ ${#sources[@]} -gt 0 ] || exit 0
# Headers made by the build (moc of a source, resources) must exist before a parser reads them.
cmake --build build/lint --target generated >/dev/null

echo "== clang-tidy (${#sources[@]} files)"
printf '%s\0' "${sources[@]}" | xargs -0 -n 2 -P "$(nproc)" \
  clang-tidy -p build/lint --quiet 2> >(grep -vE 'warnings? generated|Suppressed|Use -header-filter' >&2)
echo "== clazy level 1 (${SECONDS} s)"
printf '%s\0' "${sources[@]}" | xargs -0 -n 2 -P "$(nproc)" \
  env CLAZY_CHECKS=level1,no-qproperty-without-notify clazy-standalone -p build/lint \
  --header-filter="$PWD/(src|tools)/.*" --extra-arg=-Werror
