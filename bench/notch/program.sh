#!/usr/bin/env bash
# Measures what the notch costs while nothing is done with it, in the whole program, on a desktop without a screen:
# bench/notch/program.sh PROGRAM [SECONDS]. No other Vantry may run: the port is fixed.
set -euo pipefail

program=$(readlink -f -- "$1")
seconds=${2:-20}
if [[ -z ${VANTRY_BENCH_BUS:-} ]]; then
    VANTRY_BENCH_BUS=1 exec dbus-run-session -- "$0" "$program" "$seconds"
fi

scratch=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/run"
mkdir -p "$scratch/config/Vantry"
export HOME=$scratch XDG_DATA_HOME=$scratch/data XDG_CONFIG_HOME=$scratch/config XDG_RUNTIME_DIR=$scratch/run
export DISPLAY=:$((1000 + $$ % 50000))
unset WAYLAND_DISPLAY QT_QPA_PLATFORM
echo '{"displayMode":"notch","hasCompletedOnboarding":true,"notifications_enabled":false,"sounds_enabled":false}' \
    >"$scratch/config/Vantry/settings.json"

Xvfb "$DISPLAY" -screen 0 1920x1080x24 -noreset -nolisten tcp 2>/dev/null &
until xdpyinfo >/dev/null 2>&1; do sleep 0.1; done
openbox --sm-disable --startup "touch $scratch/ready" 2>/dev/null &
until [[ -e $scratch/ready ]]; do sleep 0.1; done
picom --backend xrender 2>/dev/null &
# One line for each frame.
QT_LOGGING_RULES='*.debug=false;qt.scenegraph.time.renderloop.debug=true' "$program" >"$scratch/out" 2>&1 &
pid=$!
until xdotool search --onlyvisible --name '^Vantry Notch$' >/dev/null 2>&1; do sleep 0.1; done
# The start has its own work.
sleep 5

ticks() { awk '{ sub(/^.*\) /, ""); print $12 + $13 }' "/proc/$1/stat"; }
frames() { grep -c 'rendered\|syncAndRender\|Frame' "$scratch/out" || true; }
wakeups() { awk '/^voluntary_ctxt_switches/ { sum += $2 } END { print sum }' /proc/"$1"/task/*/status; }
measure() {
    local before=$(ticks $pid) drawn=$(frames) woken=$(wakeups $pid)
    sleep "$seconds"
    awk -v name="$1" -v ticks=$(($(ticks $pid) - before)) -v frames=$(($(frames) - drawn)) -v hertz="$(getconf CLK_TCK)" \
        -v woken=$(($(wakeups $pid) - woken)) -v time="$seconds" \
        'BEGIN { printf "%-32s %5.2f %% of one core, %5.1f frames/s, %5.1f wake-ups/s\n", name, 100 * ticks / hertz / time, frames / time, woken / time }'
}
post() {
    curl -s -o "$scratch/answer" -H 'Content-Type: application/json' \
        -d "{\"session_id\":\"one\",\"cwd\":\"$scratch\",\"hook_event_name\":\"$1\"${2:-}}" http://127.0.0.1:49152/hook
}

measure 'compact, no session'
post UserPromptSubmit ',"prompt":"go"'
sleep 1
measure 'compact, a session works'
post Stop
sleep 1
measure 'compact, a session is ready'
post PermissionRequest ',"tool_name":"Bash"' &
# The card has gone by then.
sleep 7
measure 'compact, a request waits'
awk '/^Pss:/ { print "proportional memory              " int($2 / 1024) " MB" }' "/proc/$pid/smaps_rollup"
