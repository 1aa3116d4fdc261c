#!/usr/bin/env python3
"""Measures the hook script on an ordinary event against its limit, a script that only says `pass`.

Rounds alternate, so that both meet the same machine; medians of wall time are printed with their ratio, which is to be
at most 1.2. Usage: bench/hook_script.py [--rounds N] [--python PATH]
"""
import argparse
import json
import os
import pathlib
import socket
import statistics
import subprocess
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
SCRIPT = ROOT / "src/resources/vantry_hook.py"
ANSWER = b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}"


def answer_all(listener):
    while True:
        connection, _ = listener.accept()
        with connection:
            head, _, body = connection.recv(65536).partition(b"\r\n\r\n")
            length = int(head.lower().split(b"content-length: ")[1].split(b"\r\n")[0])
            received = len(body)
            while received < length:
                received += len(connection.recv(1 << 20))
            connection.sendall(ANSWER)


def payload(size):
    event = json.loads((ROOT / "tests/fixtures/hook-events/PostToolUse.Bash.json").read_text())
    event["tool_response"]["stdout"] = "a line\n" * ((size - len(json.dumps(event))) // 8)
    return json.dumps(event, separators=(",", ":")).encode()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--rounds", type=int, default=200)
    parser.add_argument("--python", default="/usr/bin/python3")
    options = parser.parse_args()

    listener = socket.create_server(("127.0.0.1", 0), backlog=64)
    threading.Thread(target=answer_all, args=(listener,), daemon=True).start()
    port = listener.getsockname()[1]
    with socket.create_server(("127.0.0.1", 0)) as closed:
        nobody = closed.getsockname()[1]

    with tempfile.TemporaryDirectory() as folder:
        limit = pathlib.Path(folder, "pass.py")
        limit.write_text("pass\n")
        uncached = dict(os.environ, XDG_RUNTIME_DIR="", TMPDIR="/proc")
        environment = dict(os.environ, XDG_RUNTIME_DIR=folder, CLAUDE_PID=str(os.getpid()))
        hook = [options.python, str(SCRIPT), "--port"]
        runs = {
            "pass": ([options.python, str(limit)], payload(1500), environment),
            "event of 1.5 KB": (hook + [str(port)], payload(1500), environment),
            "event of 200 KB": (hook + [str(port)], payload(200_000), environment),
            "nobody listens": (hook + [str(nobody)], payload(1500), environment),
            "its compiled form can't be kept": (hook + [str(port)], payload(1500), uncached),
        }
        times = {name: [] for name in runs}
        for _ in range(options.rounds):
            for name, (command, given, env) in runs.items():
                start = time.perf_counter()
                subprocess.run(command, input=given, env=env, check=True)
                times[name].append(time.perf_counter() - start)

    floor = statistics.median(times["pass"])
    for name, taken in times.items():
        median = statistics.median(taken)
        print("%-32s %7.2f ms   ratio %.2f" % (name, median * 1e3, median / floor))


if __name__ == "__main__":
    main()
