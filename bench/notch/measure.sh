#!/usr/bin/env bash
# Measures the notch surface on a desktop without a screen: bench/notch/measure.sh BUILD-FOLDER.
set -euo pipefail

build=$(readlink -f -- "$1")
scratch=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/run"
export HOME=$scratch XDG_DATA_HOME=$scratch/data XDG_CONFIG_HOME=$scratch/config XDG_RUNTIME_DIR=$scratch/run
export QT_LOGGING_RULES='*.debug=false' DISPLAY=:$((1000 + $$ % 50000))
unset WAYLAND_DISPLAY QT_QPA_PLATFORM

Xvfb "$DISPLAY" -screen 0 1920x1080x24 -noreset -nolisten tcp 2>/dev/null &
until xdpyinfo >/dev/null 2>&1; do sleep 0.1; done
picom --backend xrender 2>/dev/null &
sleep 1
"$build/NotchSurfaceBench"
QT_SCALE_FACTOR=2 "$build/NotchSurfaceBench"
