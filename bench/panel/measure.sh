#!/usr/bin/env bash
# Measures the panel on a desktop without a screen: bench/panel/measure.sh BUILD-FOLDER. Each figure is a median.
set -euo pipefail

build=$(readlink -f -- "$1")
scratch=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/run"
mkdir -p "$scratch/config/Vantry"
echo '{"hasCompletedOnboarding":true}' >"$scratch/config/Vantry/settings.json"
export HOME=$scratch XDG_DATA_HOME=$scratch/data XDG_CONFIG_HOME=$scratch/config XDG_RUNTIME_DIR=$scratch/run
export QT_LOGGING_RULES='*.debug=false' DISPLAY=:$((1000 + $$ % 50000))
unset WAYLAND_DISPLAY QT_QPA_PLATFORM

Xvfb "$DISPLAY" -screen 0 1920x1080x24 -noreset -nolisten tcp 2>/dev/null &
until xdpyinfo >/dev/null 2>&1; do sleep 0.1; done
openbox --sm-disable --startup "touch $scratch/ready" 2>/dev/null &
until [[ -e $scratch/ready ]]; do sleep 0.1; done
dbus-run-session -- "$build/PanelBench" "$build/vantry"
