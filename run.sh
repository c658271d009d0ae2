#!/usr/bin/env bash
# Builds Velmora and starts it. With no port it opens a simulated device, so that the program can
# be seen at work without hardware.
#   ./run.sh [PORT]        for example ./run.sh /dev/ttyUSB0
# Without a display it runs offscreen, writes a screenshot and says where.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-packages.sh build
[ -f build/release/build.ninja ] || cmake --preset release
cmake --build --preset release --target velmora simdevice

export LC_ALL="${LC_ALL:-${LANG:-C.UTF-8}}"
bin=build/release/bin
scratch=$(mktemp -d "${TMPDIR:-/tmp}/velmora.XXXXXX")
device_pid=
finish() {
  [ -z "$device_pid" ] || kill "$device_pid" 2>/dev/null || true
  rm -rf "$scratch"
}
trap finish EXIT

port=${1:-}
if [ -z "$port" ]; then
  "$bin/simdevice" >"$scratch/device" &
  device_pid=$!
  for _ in $(seq 100); do
    port=$(head -n 1 "$scratch/device")
    [ -z "$port" ] || break
    sleep 0.05
  done
  [ -n "$port" ] || { echo "The simulated device did not start." >&2; exit 1; }
  echo "Simulated device on $port (try ATI or AT+HELP)"
fi

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  "$bin/velmora" "$port"
  exit
fi

# Nobody can answer a dialog here: the settings are a scratch copy that already names a folder and
# the connection to restore.
mkdir -p "$scratch/config/KORVANE" build
cat >"$scratch/config/KORVANE/Velmora.conf" <<END
[General]
CONFIG_FILE_PATH=$scratch/config
LastConnMode=0
LastPortName=$port
LastBaudrate=115200
OpenLastConnection=true
LastConnectionOpen=true
LastDisplaySendTime=true
END
shot=$PWD/build/velmora.png
echo "No display: running offscreen."
HOME="$scratch" XDG_CONFIG_HOME="$scratch/config" XDG_DATA_HOME="$scratch/data" \
  QT_QPA_PLATFORM=offscreen "$bin/velmora" --screenshot "$shot"
echo "Screenshot: $shot"
