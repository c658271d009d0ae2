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
# In groups, for speed. A group that does not compile is linted source by source: either names of
# its sources collide after all, or a source has an error of its own.
groups=build/lint/groups
rm -rf "$groups"
tidy() {
  clang-tidy -p "$1" --quiet "$2" 2> >(grep -vE \
    'warnings? (and [0-9]+ errors? )?generated|treated as error|Suppressed|Use -header-filter' >&2)
}
tidy_group() {
  local out source sources status=0
  out=$(tidy "$2" "$1" 2>&1) || status=1
  if [[ $out == *clang-diagnostic-error* && $1 == *"/$2/"* ]]; then
    echo "note: sources that do not compile as one are linted one by one:"
    grep -m 1 clang-diagnostic-error <<<"$out"
    status=0
    out=
    mapfile -t sources < <(sed -E 's/^#include "([^"]*)".*/\1/' "$1")
    for source in "${sources[@]}"; do
      tidy build/lint "$source" || status=1
    done
  fi
  [ -z "$out" ] || printf '%s\n' "$out"
  return "$status"
}
export -f tidy tidy_group
# shellcheck disable=SC2016  # the inner shell expands
scripts/lint-groups.py build/lint "$groups" "${sources[@]}" \
  | xargs -P "$(nproc)" -I{} bash -c 'tidy_group "$1" "$2"' _ {} "$groups"

# One by one and without a precompiled header: this also finds a source that lacks an include.
echo "== clazy level 1 (${SECONDS} s)"
printf '%s\0' "${sources[@]}" | xargs -0 -n 2 -P "$(nproc)" \
  env CLAZY_CHECKS=level1,no-qproperty-without-notify clazy-standalone -p build/lint \
  --header-filter="$PWD/(src|tools)/.*" --extra-arg=-Werror
