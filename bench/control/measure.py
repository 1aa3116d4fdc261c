#!/usr/bin/env python3
"""Measures `vantry send` and `vantry focus` on a tmux pane against a program that links the same libraries and does
nothing, in alternating rounds; a bare call of tmux stands beside them. `send` is done once the text is typed; between
rounds its Return follows, since the next line would wait for that. Runs an application of its own, in a scratch home and
on a bus of its own; port 49152 has to be free.

    bench/control/measure.py build/bench
"""

import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

ROUNDS = 50
RETURN_FOLLOWS = 0.3  # seconds


def post(event):
    body = json.dumps(event).encode()
    urllib.request.urlopen(urllib.request.Request("http://127.0.0.1:49152/hook", body), timeout=5).read()


def wait_for(condition):
    for _ in range(500):
        try:
            if condition():
                return
        except OSError:
            pass
        time.sleep(0.02)
    sys.exit("waited in vain")


def milliseconds(command, environment):
    begin = time.perf_counter()
    code = subprocess.run(command, env=environment, stdout=subprocess.DEVNULL).returncode
    if code != 0:
        sys.exit(f"{command} gave {code}")
    return (time.perf_counter() - begin) * 1000


def measure(build, home):
    vantry = os.path.join(build, "vantry")
    environment = {**os.environ, "HOME": home, "XDG_DATA_HOME": home + "/data", "XDG_CONFIG_HOME": home + "/config"}
    environment.pop("TMUX", None)
    bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], stdout=subprocess.PIPE,
                           text=True)
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
    application = subprocess.Popen([vantry, "--headless"], env=environment)
    tmux = ["tmux", "-S", home + "/tmux", "-f", "/dev/null"]
    client = None
    try:
        subprocess.run([*tmux, "new-session", "-d", "-s", "main", "cat > /dev/null"], env=environment, check=True)
        client = subprocess.Popen(["script", "-qfc", " ".join(tmux + ["attach"]), "/dev/null"],
                                  env={**environment, "TERM": "xterm"}, stdin=subprocess.PIPE,
                                  stdout=subprocess.DEVNULL)
        wait_for(lambda: subprocess.check_output([*tmux, "list-clients"], env=environment))
        wait_for(lambda: urllib.request.urlopen("http://127.0.0.1:49152/health", timeout=5).status == 200)
        post({"session_id": "one", "hook_event_name": "SessionStart", "terminal_type": "tmux-pane",
              "terminal_session_id": home + "/tmux,%0"})
        wait_for(lambda: b'"one"' in subprocess.check_output([vantry, "status", "--json"], env=environment))

        commands = {"nothing": [os.path.join(build, "ControlBaseline")],
                    "tmux": [*tmux, "display-message", "-p", "x"], "status": [vantry, "status"],
                    "focus": [vantry, "focus", "one"], "send": [vantry, "send", "one", "a"]}
        times = {name: [] for name in commands}
        for _ in range(ROUNDS):
            for name, command in commands.items():
                times[name].append(milliseconds(command, environment))
            time.sleep(RETURN_FOLLOWS)
    finally:
        application.terminate()
        application.wait()
        for process in (client, bus):
            if process:
                process.terminate()
        subprocess.run([*tmux, "kill-server"], env=environment)

    nothing = statistics.median(times["nothing"])
    for name, values in times.items():
        median = statistics.median(values)
        print(f"{name:8} median {median:6.1f} ms, {median - nothing:+6.1f} ms")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as scratch:
        measure(os.path.abspath(sys.argv[1]), scratch)
