#!/usr/bin/env python3
"""How soon a sound is heard: sound_onset.py BUILD_FOLDER [PLAYER COMMAND...].

Starts a PulseAudio of its own with a silent device, listens at that, and plays one of Vantry's sounds by vantry-sound and
by each other command (to which the file's path is added), in alternating rounds. Needs pulseaudio and pulseaudio-utils.
"""

import array
import os
import pathlib
import shlex
import statistics
import subprocess
import sys
import tempfile
import threading
import time

ROUNDS = 11
LEVEL = 60  # Of 32767: the first of a soft attack.


class Device:
    """A sound server, and when its device was last quiet."""

    def __init__(self, folder):
        os.environ["PULSE_SERVER"] = f"unix:{folder}/socket"
        os.environ["XDG_RUNTIME_DIR"] = folder
        self.server = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--disable-shm=yes", "--exit-idle-time=-1", "--use-pid-file=no",
             "-L", "module-null-sink sink_name=device",
             "-L", f"module-native-protocol-unix auth-anonymous=1 socket={folder}/socket"],
            stderr=subprocess.DEVNULL)
        while subprocess.run(["pactl", "info"], capture_output=True).returncode != 0:
            time.sleep(0.05)
        self.recorder = subprocess.Popen(
            ["parec", "-d", "device.monitor", "--latency-msec=5", "--rate=48000", "--channels=1", "--format=s16le"],
            stdout=subprocess.PIPE)
        self.first_heard = None
        threading.Thread(target=self.listen, daemon=True).start()

    def listen(self):
        while block := self.recorder.stdout.read1(4096):
            samples = array.array("h", block[: len(block) // 2 * 2])
            if self.first_heard is None and max(map(abs, samples), default=0) > LEVEL:
                self.first_heard = time.monotonic()

    def onset(self, command):
        """Seconds from the start of the command until it is heard."""
        self.first_heard = None
        start = time.monotonic()
        subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=30, check=False)
        time.sleep(0.5)
        return (self.first_heard - start) if self.first_heard else float("nan")

    def close(self):
        self.recorder.kill()
        self.server.terminate()
        self.server.wait()


def main():
    build = pathlib.Path(sys.argv[1])
    sound = str(build / "sounds" / "Glass.wav")
    players = [[str(build / "vantry-sound")]] + [shlex.split(player) for player in sys.argv[2:]]
    with tempfile.TemporaryDirectory() as folder:
        device = Device(folder)
        for player in players:  # The first one of all waits for the device.
            device.onset([*player, sound])
        onsets = {" ".join(player): [] for player in players}
        for _ in range(ROUNDS):
            for player in players:
                onsets[" ".join(player)].append(device.onset([*player, sound]))
        device.close()
    for player, seconds in onsets.items():
        print(f"{player}: median {1000 * statistics.median(seconds):.0f} ms, "
              f"from {1000 * min(seconds):.0f} to {1000 * max(seconds):.0f} ms")


if __name__ == "__main__":
    main()
