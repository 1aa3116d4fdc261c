#!/usr/bin/env python3
"""Makes Vantry's sounds: make_sounds.py FOLDER writes one WAV file for each (mono, 16 bit, 48 kHz).

The build runs this. The same script gives the same files: noise comes from a generator with a fixed seed. All are
equally loud, begin and end in silence without a click, and have no offset.
"""

import array
import math
import pathlib
import random
import sys
import wave

RATE = 48_000
LOUDNESS = -20.0  # The loudest 400 ms, in LUFS.
PEAK = 10 ** (-3.5 / 20)  # Nothing is louder than this at any moment.
ATTACK = 0.006  # Seconds, the least; a sound may begin more softly.
RELEASE = 0.04


# Building blocks. A sound is a list of samples; how loud it is doesn't matter before finish().


def silence(seconds):
    return [0.0] * round(seconds * RATE)


def tone(seconds, frequency, partials, decay=0.0, vibrato=(0.0, 0.0)):
    """Partials are (ratio, amplitude, decay): higher ones may fade sooner. The frequency is a number or a function of
    time; vibrato is its depth, as a share, and its rate."""
    at = frequency if callable(frequency) else lambda _: frequency
    depth, rate = vibrato
    out = silence(seconds)
    phases = [0.0] * len(partials)
    fades = [math.exp(-(decay + extra) / RATE) for _, _, extra in partials]
    levels = [amplitude for _, amplitude, _ in partials]
    steps = [math.tau * ratio / RATE for ratio, _, _ in partials]
    for i in range(len(out)):
        t = i / RATE
        now = at(t) * (1 + depth * math.sin(math.tau * rate * t))
        value = 0.0
        for k, step in enumerate(steps):
            phases[k] += step * now
            levels[k] *= fades[k]
            value += levels[k] * math.sin(phases[k])
        out[i] = value
    return out


def noise(seconds, seed):
    generator = random.Random(seed)
    return [generator.uniform(-1.0, 1.0) for _ in range(round(seconds * RATE))]


def resonance(samples, frequency, sharpness):
    """Lets through what is near the frequency, which may be a function of time."""
    at = frequency if callable(frequency) else lambda _: frequency
    low = band = 0.0
    out = []
    for i, sample in enumerate(samples):
        step = 2 * math.sin(math.pi * at(i / RATE) / RATE)
        low += step * band
        band += step * (sample - low - band / sharpness)
        out.append(band / sharpness)
    return out


def shaped(samples, points):
    """With an envelope through the points (time, level), which is smooth between them."""
    out = []
    ends = iter(zip(points, points[1:]))
    (t0, a0), (t1, a1) = next(ends)
    for i, sample in enumerate(samples):
        t = i / RATE
        while t > t1:
            following = next(ends, None)
            if following is None:
                break
            (t0, a0), (t1, a1) = following
        share = min(1.0, (t - t0) / (t1 - t0))
        out.append(sample * (a0 + (a1 - a0) * (1 - math.cos(math.pi * share)) / 2))
    return out


def mixed(*parts):
    """Parts are (start in seconds, level, samples)."""
    out = [0.0] * max(round(start * RATE) + len(samples) for start, _, samples in parts)
    for start, level, samples in parts:
        first = round(start * RATE)
        for i, sample in enumerate(samples):
            out[first + i] += level * sample
    return out


def glide(first, last, seconds):
    """From one frequency to another, evenly to the ear."""
    return lambda t: first * (last / first) ** min(1.0, t / seconds)


def harmonics(count, steepness, decay=0.0):
    """A full tone's partials; the greater the steepness, the softer. Higher ones fade sooner by `decay`."""
    return [(n, n**-steepness, decay * (n - 1)) for n in range(1, count + 1)]


# The sounds.


def basso():
    """A low note of a soft reed."""
    note = tone(0.55, glide(104, 98, 0.3), harmonics(9, 1.1, 1.5), 3.0)
    return shaped(note, [(0, 0), (0.03, 1), (0.35, 0.7), (0.55, 0)])


def blow():
    """A breath over the mouth of a pipe."""
    breath = resonance(noise(0.7, 2), glide(560, 760, 0.4), 9)
    pipe = tone(0.7, glide(600, 622, 0.2), harmonics(3, 2.2), 0, (0.004, 5.5))
    air = [(0, 0), (0.12, 1), (0.4, 0.8), (0.7, 0)]
    return mixed((0, 2.6, shaped(breath, air)), (0, 0.45, shaped(pipe, [(0, 0), (0.2, 1), (0.45, 0.7), (0.7, 0)])))


def bottle():
    """A cork out of a bottle, and the bottle's own note after it."""
    cork = shaped(tone(0.05, glide(420, 250, 0.05), [(1, 1, 0)], 50), [(0, 0), (0.006, 1), (0.02, 1), (0.05, 0)])
    body = tone(0.5, glide(255, 247, 0.2), [(1, 1, 0), (2, 0.18, 6), (3.02, 0.1, 14)], 8)
    air = shaped(resonance(noise(0.2, 3), 500, 12), [(0, 0), (0.02, 1), (0.2, 0)])
    return mixed((0, 0.5, cork), (0.03, 1, shaped(body, [(0, 0), (0.015, 1), (0.3, 1), (0.5, 0)])), (0.02, 0.8, air))


def frog():
    """Two croaks: short pulses, quick after each other, in a throat."""

    def croak(seconds, throat, rate):
        pulses = silence(seconds)
        for n in range(int(seconds * rate)):
            at = round(n / rate * RATE)
            for k in range(48):
                if at + k < len(pulses):
                    pulses[at + k] += math.sin(math.pi * k / 48)
        voice = mixed((0, 1, resonance(pulses, throat, 7)), (0, 0.5, resonance(pulses, 1250, 9)))
        return shaped(voice, [(0, 0), (0.03, 1), (seconds - 0.05, 0.9), (seconds, 0)])

    return mixed((0, 0.8, croak(0.16, glide(480, 620, 0.16), 62)), (0.2, 1, croak(0.22, glide(640, 430, 0.22), 70)))


def funk():
    """A plucked bass string whose brightness opens and closes."""
    string = tone(0.42, glide(131, 130, 0.1), harmonics(22, 0.8, 0.35), 4)
    opened = resonance(string, lambda t: 350 + 1500 * math.sin(math.pi * min(1.0, t / 0.34)) ** 2, 4)
    return shaped(mixed((0, 0.35, string), (0, 1, opened)), [(0, 0), (0.01, 1), (0.25, 0.8), (0.42, 0)])


def glass():
    """A glass that is touched by a spoon."""
    rim = [(1, 1, 0), (2.32, 0.55, 2.5), (4.25, 0.28, 6), (6.63, 0.1, 14), (1.004, 0.6, 0.3)]
    return tone(0.95, 1046.5, rim, 5)


def hero():
    """Three notes of a horn, upwards; the last one stays."""

    def horn(frequency, seconds, end):
        note = tone(seconds, frequency, harmonics(8, 1.5, 1.2), 1.0, (0.003, 5))
        return shaped(note, [(0, 0), (0.025, 1), (end, 0.8), (seconds, 0)])

    return mixed((0, 0.8, horn(392.0, 0.18, 0.1)), (0.13, 0.9, horn(523.25, 0.18, 0.1)), (0.26, 1, horn(659.25, 0.6, 0.3)))


def morse():
    """Dot, dot, dot, dash: V."""
    dot = 0.055
    parts = []
    start = 0.0
    for length in (dot, dot, dot, 3 * dot):
        key = tone(length, 740, [(1, 1, 0), (2, 0.12, 0), (3, 0.05, 0)])
        parts.append((start, 1, shaped(key, [(0, 0), (0.008, 1), (length - 0.012, 1), (length, 0)])))
        start += length + dot
    return mixed(*parts)


def ping():
    """One clear high note that fades."""
    return tone(0.75, 1396.9, [(1, 1, 0), (2, 0.12, 8), (3, 0.03, 20)], 6.5)


def pop():
    """A bubble."""
    bubble = tone(0.2, glide(330, 1050, 0.1), [(1, 1, 0), (2, 0.08, 0)], 22)
    return shaped(bubble, [(0, 0), (0.012, 1), (0.12, 0.6), (0.2, 0)])


def purr():
    """A cat."""
    throat = mixed((0, 1, resonance(noise(0.9, 11), 260, 3)), (0, 0.35, tone(0.9, 130, harmonics(5, 1.2))))
    flutter = [sample * (0.08 + 0.92 * math.sin(math.pi * 24 * i / RATE) ** 4) for i, sample in enumerate(throat)]
    return shaped(flutter, [(0, 0), (0.12, 1), (0.45, 0.8), (0.6, 1), (0.9, 0)])


def sosumi():
    """Two bars of a xylophone."""

    def bar(frequency, seconds):
        wood = tone(seconds, frequency, [(1, 1, 0), (3.93, 0.4, 22), (9.2, 0.06, 60)], 11)
        return shaped(wood, [(0, 0), (0.007, 1), (seconds - 0.1, 1), (seconds, 0)])

    return mixed((0, 0.85, bar(587.33, 0.4)), (0.11, 1, bar(880.0, 0.45)))


def submarine():
    """A sounding under water, and its echo."""
    call = tone(0.5, glide(472, 440, 0.5), [(1, 1, 0), (2, 0.1, 4), (1.006, 0.5, 0)], 6)
    call = shaped(call, [(0, 0), (0.03, 1), (0.4, 1), (0.5, 0)])
    return mixed((0, 1, call), (0.27, 0.3, call), (0.48, 0.1, call))


def tink():
    """A fingernail on a small piece of metal."""
    return tone(0.3, 2349.3, [(1, 1, 0), (1.52, 0.5, 10), (2.76, 0.25, 35)], 19)


SOUNDS = [basso, blow, bottle, frog, funk, glass, hero, morse, ping, pop, purr, sosumi, submarine, tink]


# From samples to a file.


def biquad(samples, b, a):
    x1 = x2 = y1 = y2 = 0.0
    out = []
    for x in samples:
        y = b[0] * x + b[1] * x1 + b[2] * x2 - a[0] * y1 - a[1] * y2
        x2, x1, y2, y1 = x1, x, y1, y
        out.append(y)
    return out


def loudness(samples):
    """The loudest 400 ms by ITU-R BS.1770, in LUFS. A shorter sound counts as if silence stood around it."""
    weighted = biquad(samples, (1.53512485958697, -2.69169618940638, 1.19839281085285),
                      (-1.69065929318241, 0.73248077421585))
    weighted = biquad(weighted, (1.0, -2.0, 1.0), (-1.99004745483398, 0.99007225036621))
    window = RATE * 2 // 5
    energy = most = 0.0
    for i, value in enumerate(weighted):
        energy += value * value
        if i >= window:
            energy -= weighted[i - window] ** 2
        most = max(most, energy)
    return -0.691 + 10 * math.log10(most / window)


def finish(samples):
    """Soft at both ends, without an offset, and as loud as all others."""
    # An offset is what a very low resonance would hear: taking that out leaves the rest as it was.
    low, share = 0.0, math.tau * 20 / RATE
    for i, sample in enumerate(samples):
        low += share * (sample - low)
        samples[i] = sample - low
    rise, fall = round(ATTACK * RATE), round(RELEASE * RATE)
    for i in range(rise):
        samples[i] *= (1 - math.cos(math.pi * i / rise)) / 2
    for i in range(fall):
        samples[-1 - i] *= (1 - math.cos(math.pi * i / fall)) / 2
    gain = 10 ** ((LOUDNESS - loudness(samples)) / 20)
    samples = [gain * sample for sample in samples]
    assert max(map(abs, samples)) < PEAK, "too sharp to be as loud as the others"
    return samples


def write(path, samples):
    values = array.array("h", (round(32767 * sample) for sample in samples))
    if sys.byteorder == "big":
        values.byteswap()
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, RATE, len(values), "NONE", ""))
        file.writeframes(values.tobytes())


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for sound in SOUNDS:
        write(folder / f"{sound.__name__.capitalize()}.wav", finish(sound()))


if __name__ == "__main__":
    main()
