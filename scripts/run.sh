#!/usr/bin/env bash
# Builds everything and starts the settings pane against the panel simulator, on a private
# session bus when none is running. Without a display it saves a screenshot instead.
#
#   scripts/run.sh [--model N] [--screenshot FILE]
#
# While it runs, the simulator takes driver-side commands from a pipe, for example:
#   echo disconnect > build/run/sim.in
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

model=317
screenshot=""
while [ $# -gt 0 ]; do
  case "$1" in
    --model) model="$2"; shift 2 ;;
    --screenshot) screenshot="$2"; shift 2 ;;
    -h|--help) sed -n '2,9p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "run.sh: unknown option $1" >&2; exit 2 ;;
  esac
done

if [ -z "${TAVIX_RUN_ON_BUS:-}" ]; then
  scripts/deps.sh
  export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-$(command -v ccache || true)}"
  cmake --preset dev >/dev/null
  cmake --build --preset dev
  if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
    echo "No session bus: starting a private one."
    args=(--model "$model")
    [ -n "$screenshot" ] && args+=(--screenshot "$screenshot")
    TAVIX_RUN_ON_BUS=1 exec dbus-run-session -- "$0" "${args[@]}"
  fi
fi

build="$root/build/dev"
sim="$build/src/sim/tavix-panel-sim"
host="$build/src/host/tavix-settings"
run="$build/run"
mkdir -p "$run"

# The machine-wide Library folder of the demo: a folder in the user's home, so that the demo's
# links never land in the default folder (/usr/share/tavix/Library), which the package owns.
if [ -z "${TAVIX_SYSTEM_LIBRARY:-}" ]; then
  export TAVIX_SYSTEM_LIBRARY="$HOME/.local/share/tavix/Library"
  mkdir -p "$TAVIX_SYSTEM_LIBRARY"
fi

# The pane's check box starts whatever stands at the status-bar utility's path: a link to the
# built utility. The utility finds the settings window on the PATH.
utility="$build/src/utility/TavixTouchSettingUtility"
app_dir="$TAVIX_SYSTEM_LIBRARY/Application Support/TavixTouchPanel/StatusBarApp"
if [ -x "$utility" ] && mkdir -p "$app_dir"; then
  ln -sfn "$utility" "$app_dir/TavixTouchSettingUtility.app"
fi
export PATH="$build/src/host:$build/src/tools/panelctl:$PATH"

# The displays come from a fixture in which the simulated panel's display (model 317's) is
# present, so the Calibration page shows a matched display.
export TAVIX_DISPLAYS="${TAVIX_DISPLAYS:-$root/data/displays.json}"

if [ ! -x "$sim" ]; then
  echo "run.sh: the panel simulator is not built yet ($sim)" >&2
  exit 1
fi

fifo="$run/sim.in"
rm -f "$fifo"
mkfifo "$fifo"
exec 3<>"$fifo"
"$sim" --model "$model" --log "$run/sim-commands.log" <&3 &
sim_pid=$!
trap 'kill $sim_pid 2>/dev/null || true; rm -f "$fifo"' EXIT
echo "Simulator (model $model) running; it logs every command to $run/sim-commands.log"
echo "Driver-side commands: echo help > $fifo"

if [ ! -x "$host" ]; then
  echo "run.sh: the settings host is not built yet ($host); the simulator alone runs until Ctrl-C"
  wait "$sim_pid"
  exit 0
fi

# Give the simulator a moment to own its port and write the shared state file.
for _ in $(seq 50); do
  dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.NameHasOwner string:io.tavix.MessagePort.TavixTouchPanelDaemon \
    2>/dev/null | grep -q 'boolean true' && break
  sleep 0.1
done

if [ -n "$screenshot" ] || { [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; }; then
  out="${screenshot:-$run/pane.png}"
  QT_QPA_PLATFORM=offscreen "$host" --screenshot "$out"
  echo "No display: saved a screenshot of the pane to $out"
else
  "$host"
fi
