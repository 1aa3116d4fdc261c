#!/usr/bin/env python3
"""Measures the intake against a bare epoll server that answers the same bytes.

Usage: measure.py BUILD_FOLDER [ROUNDS]

Rounds of both alternate within one run. CPU ratios of one run are steady where the machine has other work, wall times
are not; so only the ratios are compared with the goals. Costs of the main thread are in the intake's CPU time.
"""

import os
import socket
import statistics
import subprocess
import sys
import tempfile
import time


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Server:
    def __init__(self, command, port):
        self.port = port
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE)
        for _ in range(500):
            try:
                socket.create_connection(("127.0.0.1", port)).close()
                return
            except OSError:
                time.sleep(0.01)
        raise SystemExit("no server at port %d" % port)

    def cpu_us(self):
        """CPU time of all its threads, by the scheduler's own account."""
        total = 0
        tasks = "/proc/%d/task" % self.process.pid
        for thread in os.listdir(tasks):
            with open("%s/%s/schedstat" % (tasks, thread)) as stat:
                total += int(stat.read().split()[0])
        return total / 1000

    def resident_kb(self):
        with open("/proc/%d/smaps_rollup" % self.process.pid) as rollup:
            return next(int(line.split()[1]) for line in rollup if line.startswith("Rss:"))

    def tell(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def end(self):
        self.process.kill()
        self.process.wait()


class Bench:
    def __init__(self, build, rounds):
        self.build = build
        self.rounds = rounds
        self.folder = tempfile.TemporaryDirectory()
        port = free_port()
        self.epoll = Server([build + "/epoll_server", str(port)], port)
        self.intake = self.start_intake()

    def start_intake(self, *options):
        port = free_port()
        log = os.path.join(self.folder.name, "debug-%d.log" % port)
        return Server([self.build + "/intake_server", str(port), log, *options], port)

    def load(self, server, size, count, at_a_time):
        """CPU and median latency of one request, in microseconds."""
        before = server.cpu_us()
        out = subprocess.run([self.build + "/load_generator", str(server.port), str(size), str(count), str(at_a_time)],
                             check=True, stdout=subprocess.PIPE).stdout.split()
        time.sleep(0.05)  # For the main thread to take what was handed over.
        return (server.cpu_us() - before) / count, float(out[0])

    def compare(self, title, size, count, at_a_time, cpu_goal=None, latency_goal=None):
        pairs = []
        for _ in range(self.rounds):
            pairs.append((self.load(self.epoll, size, count, at_a_time),
                          self.load(self.intake, size, count, at_a_time)))
        for name, index, goal in (("CPU", 0, cpu_goal), ("latency", 1, latency_goal)):
            ratio = statistics.median(ours[index] / bare[index] for bare, ours in pairs)
            bare = statistics.median(bare[index] for bare, _ in pairs)
            ours = statistics.median(ours[index] for _, ours in pairs)
            limit = "  goal %.1f" % goal if goal else ""
            print("%-34s %-8s epoll %8.1f us  intake %8.1f us  ratio %.2f%s" % (title, name, bare, ours, ratio, limit))

    def growth(self):
        one = statistics.median(self.load(self.intake, 1_000_000, 40, 1)[1] for _ in range(self.rounds))
        twenty = statistics.median(self.load(self.intake, 20_000_000, 6, 1)[1] for _ in range(self.rounds))
        print("%-34s %-8s 1 MB %9.1f us  20 MB %10.1f us  ratio %.1f  goal 25" % ("large request", "latency", one, twenty,
                                                                             twenty / one))

    def held(self, count=1000):
        server = self.start_intake("hold")
        self.load(server, 1500, 200, 1)
        before = server.resident_kb()
        peer = subprocess.Popen([self.build + "/load_generator", str(server.port), "1500", str(count), "1", "hold"],
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        peer.stdout.readline()
        time.sleep(1)
        print("%-34s %-8s %.2f KB each  goal 8" % ("1,000 held requests of 1.5 KB", "memory",
                                                   (server.resident_kb() - before) / count))
        peer.kill()
        peer.wait()
        server.end()

    def run(self):
        self.load(self.epoll, 1500, 500, 1)
        self.load(self.intake, 1500, 500, 1)
        self.compare("1.5 KB, 1 at a time", 1500, 2000, 1, 1.5, 1.3)
        self.compare("1.5 KB, 16 at a time", 1500, 4000, 16, 1.5)
        self.compare("200 KB, 4 at a time", 200_000, 1000, 4, 2.5)
        self.intake.tell("block")
        self.compare("1.5 KB, main thread blocked", 1500, 2000, 1, None, 1.3)
        self.intake.tell("go on")
        time.sleep(0.6)
        self.growth()
        self.held()
        self.epoll.end()
        self.intake.end()


if __name__ == "__main__":
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    Bench(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 5).run()
