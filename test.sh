#!/usr/bin/env bash
# Installs what the tests need, builds, and runs every test offscreen.
#   ./test.sh [CTEST ARGUMENTS]      for example ./test.sh -R receivepipeline
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-packages.sh build test
export LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen
[ -f build/dev/build.ninja ] || cmake --preset dev
cmake --build --preset dev
ctest --preset dev -j "$(nproc)" "$@"
