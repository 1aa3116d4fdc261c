#!/usr/bin/env python3
"""Measures how long hook events take while the backfill reads 500 MB of transcripts, beside a start with none to read:
until their answer, and until `vantry watch` tells what they changed, which the main thread does once they are saved.

    bench/intake/backfill.py build/bench [ROUNDS [cold]]

Rounds of both kinds alternate, each a start of the program in a scratch home and on a bus of its own, with as many
events in the one kind as in the other. With "cold" the transcripts are put out of the page cache before each round. Port
49152 has to be free.
"""

import json
import os
import select
import socket
import statistics
import subprocess
import sys
import tempfile
import time

TRANSCRIPTS, MEGABYTES = 100, 500
BETWEEN_EVENTS = 0.001  # seconds
FEWEST, MOST = 50, 2000  # events of a round


def request(number):
    body = json.dumps({"session_id": "one", "hook_event_name": "UserPromptSubmit", "prompt": "number %d." % number,
                       "cwd": "/", "permission_mode": "default", "terminal_type": "x11-window"}).encode()
    return b"POST /hook HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: %d\r\n\r\n" % len(body) + body


def post(number):
    with socket.create_connection(("127.0.0.1", 49152)) as peer:
        peer.sendall(request(number))
        while peer.recv(4096):
            pass


class Watch:
    """What `vantry watch` prints."""

    def __init__(self, vantry, environment):
        self.process = subprocess.Popen([vantry, "watch", "--json"], env=environment, stdout=subprocess.PIPE)
        self.rest = b""
        self.wait_for(b'"sessions"')

    def wait_for(self, text):
        while text not in self.rest:
            if not select.select([self.process.stdout], [], [], 10)[0]:
                sys.exit("nothing came of an event")
            self.rest += os.read(self.process.stdout.fileno(), 1 << 16)
        self.rest = b""

    def end(self):
        self.process.terminate()
        self.process.wait()


class Application:
    def __init__(self, build, environment, home):
        self.vantry = os.path.join(build, "vantry")
        self.folder = tempfile.TemporaryDirectory(dir=build)
        self.environment = {**environment, "HOME": home, "XDG_DATA_HOME": self.folder.name + "/data",
                            "XDG_CONFIG_HOME": self.folder.name + "/config"}
        self.process = subprocess.Popen([self.vantry, "--headless"], env=self.environment)
        for _ in range(2000):
            try:
                socket.create_connection(("127.0.0.1", 49152)).close()
                return
            except OSError:
                time.sleep(0.001)
        sys.exit("no Vantry")

    def has_finished(self):
        with open(self.folder.name + "/data/Vantry/debug.log") as log:
            return "backfilled %d sessions" % TRANSCRIPTS in log.read()

    def measure(self, watches, goes_on):
        """Milliseconds that each event took."""
        watch = Watch(self.vantry, self.environment) if watches else None
        times = []
        while len(times) < MOST and goes_on(len(times)):
            time.sleep(BETWEEN_EVENTS)
            begin = time.perf_counter()
            post(len(times))
            if watch:
                watch.wait_for(b'"number %d."' % len(times))
            times.append((time.perf_counter() - begin) * 1000)
        if watch:
            watch.end()
        return times

    def end(self):
        self.process.terminate()
        self.process.wait()
        self.folder.cleanup()


def put_out_of_the_cache(home):
    for folder, _, files in os.walk(home):
        for name in files:
            with open(os.path.join(folder, name), "rb") as file:
                os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)


def p99(times):
    return sorted(times)[len(times) * 99 // 100]


def compare(title, watches, build, environment, homes, rounds, cold):
    idle, busy, ratios = [], [], []
    for _ in range(rounds):
        if cold:
            put_out_of_the_cache(homes["full"])
        application = Application(build, environment, homes["full"])
        during = application.measure(watches, lambda count: not application.has_finished())
        application.end()
        if len(during) < FEWEST:
            sys.exit("the backfill is too short: %d events" % len(during))
        application = Application(build, environment, homes["empty"])
        without = application.measure(watches, lambda count: count < len(during))
        application.end()
        busy += during
        idle += without
        ratios.append(p99(during) / p99(without))
    print("%-18s without: p50 %.2f, p99 %.2f ms; during the backfill: p50 %.2f, p99 %.2f, most %.2f ms of %d;  p99 %.2f "
          "times as long, median of rounds %.2f  (at most 2)"
          % (title, statistics.median(idle), p99(idle), statistics.median(busy), p99(busy), max(busy), len(busy),
             p99(busy) / p99(idle), statistics.median(ratios)))


def main(build, rounds, cold):
    environment = dict(os.environ)
    bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], stdout=subprocess.PIPE, text=True)
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
    # Beside the programs: the folder for temporary files may be no disk.
    with tempfile.TemporaryDirectory(dir=build) as scratch:
        homes = {"full": scratch + "/full", "empty": scratch + "/empty"}
        os.makedirs(homes["empty"] + "/.claude/projects")
        subprocess.run([os.path.join(build, "make_transcripts"), homes["full"] + "/.claude/projects", str(TRANSCRIPTS),
                        str(MEGABYTES)], check=True)
        os.sync()
        compare("answered", False, build, environment, homes, rounds, cold)
        compare("saved and told", True, build, environment, homes, rounds, cold)
    bus.terminate()
    print("load: %.1f on %d processors" % (os.getloadavg()[0], os.cpu_count()))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(os.path.abspath(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 20, sys.argv[3:] == ["cold"])
