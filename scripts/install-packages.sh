#!/usr/bin/env bash
# Installs what is missing of the named sections of packages.txt; asks for nothing when all is
# there.
#   scripts/install-packages.sh build [test] [lint] [bench]
set -euo pipefail
cd "$(dirname "$0")/.."

wanted=()
for section in "$@"; do
  mapfile -t lines < <(sed -n "/^\[$section\]/,/^\[/p" packages.txt | grep -E '^[a-z0-9]')
  wanted+=("${lines[@]}")
done

missing=()
for package in "${wanted[@]}"; do
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] \
    || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "Installing: ${missing[*]}"
as_root=()
[ "$(id -u)" = 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
