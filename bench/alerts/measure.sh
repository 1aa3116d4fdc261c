#!/usr/bin/env bash
# Measures how soon an event becomes a notification: bench/alerts/measure.sh BUILD-FOLDER. Port 49152 has to be free.
set -euo pipefail

build=$(readlink -f -- "$1")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/run"
mkdir -p "$scratch/config/Vantry"
echo '{"hasCompletedOnboarding":true}' >"$scratch/config/Vantry/settings.json"
export HOME=$scratch XDG_DATA_HOME=$scratch/data XDG_CONFIG_HOME=$scratch/config XDG_RUNTIME_DIR=$scratch/run
dbus-run-session -- "$build/NotificationBench" "$build/vantry"
