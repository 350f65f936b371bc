#!/usr/bin/env python3
"""Runs the animation optimizations over every animated scene and holds the clips against those of before.

    reduced.py --kxopt PATH --work DIR [--scenes DIR]

Of each scene, once through kxReduceKeyframes: every key that is left is one of before to the bit, the first and the last are
left, between keys no track is further off than the tolerance, and the file is not larger than one that was only converted.
Once through all animation optimizations, and once through those that take moving geometry to pieces: `--verify-each` finds
the same picture behind every step, and of the pieces `compare` does in the file.
The interpolation here is written from the definition of the format and shares nothing with the program's.
Exit status: 0 all well, 1 failures, 77 without assets or numpy.
"""

import argparse
import glob
import os
import subprocess
import sys

from assets import assetsFolder
from gltffile import GltfFile

try:
    import numpy as np
except ImportError:
    print("SKIPPED: numpy is not installed")
    sys.exit(77)

TOLERANCE = 1e-4
# What single precision and the reading of times add.
NOISE = 5e-6
ALL = ["kxOptimizeActorKeyframes", "kxReduceKeyframes", "kxOptimizeActorAnimations"]
PIECES = ["kxLimitActorBlendPalettes\nmaxBlendMatrixCount = 8", "kxSpatialPartition\nsplitGeometry = true"]


def script(names):
    lines = ["[OPTIMIZE]", f"optimizationCount = {len(names)}"]
    for number, name in enumerate(names, 1):
        lines += [f"[OPTIMIZATION{number}]", f"name = {name}"]
    return "\n".join(lines) + "\n"


class Track:
    """One channel: its keys, and its value at any time."""

    def __init__(self, file, animation, channel):
        sampler = animation["samplers"][channel["sampler"]]
        self.times = file.values(sampler["input"])[:, 0].astype(np.float64)
        values = file.values(sampler["output"]).astype(np.float64)
        self.kind = sampler.get("interpolation", "LINEAR")
        target = channel["target"]
        pointer = target.get("extensions", {}).get("KHR_animation_pointer", {}).get("pointer", "")
        self.isRotation = target["path"] == "rotation" or (
            pointer.startswith("/nodes/") and pointer.endswith("/rotation"))
        self.isVector = target["path"] in ("translation", "scale") or (
            pointer.startswith("/nodes/") and pointer.endswith(("/translation", "/scale")))
        self.label = f"{animation.get('name')} {pointer or target}"
        self.values = values.reshape(len(self.times), 3 if self.kind == "CUBICSPLINE" else 1, -1)

    def keys(self):
        return [(time.tobytes(), value.tobytes()) for time, value in zip(self.times, self.values)]

    def at(self, times):
        if len(self.times) == 1:
            return np.repeat(self.values[:1, 0], len(times), axis=0)
        times = np.clip(times, self.times[0], self.times[-1])
        i = np.clip(np.searchsorted(self.times, times, side="right") - 1, 0, len(self.times) - 2)
        length = self.times[i + 1] - self.times[i]
        t = ((times - self.times[i]) / length)[:, None]
        if self.kind == "STEP":
            i = np.where(times >= self.times[-1], len(self.times) - 1, i)
            return self.values[i, 0]
        if self.kind == "CUBICSPLINE":
            p, m, q, n = self.values[i, 1], self.values[i, 2], self.values[i + 1, 1], self.values[i + 1, 0]
            d = length[:, None]
            result = ((2 * t**3 - 3 * t**2 + 1) * p + d * (t**3 - 2 * t**2 + t) * m
                      + (3 * t**2 - 2 * t**3) * q + d * (t**3 - t**2) * n)
            return result / np.linalg.norm(result, axis=1, keepdims=True) if self.isRotation else result
        a, b = self.values[i, 0], self.values[i + 1, 0]
        if not self.isRotation:
            return a * (1 - t) + b * t
        a = a / np.linalg.norm(a, axis=1, keepdims=True)
        b = b / np.linalg.norm(b, axis=1, keepdims=True)
        cosine = np.sum(a * b, axis=1, keepdims=True)
        b = np.where(cosine < 0, -b, b)
        angle = np.arccos(np.clip(np.abs(cosine), 0, 1))
        sine = np.where(angle < 1e-6, 1, np.sin(angle))
        mixed = np.where(angle < 1e-6, a * (1 - t) + b * t,
                         (np.sin((1 - t) * angle) * a + np.sin(t * angle) * b) / sine)
        return mixed / np.linalg.norm(mixed, axis=1, keepdims=True)

    def difference(self, other):
        fractions = np.array([0, 0.13, 0.31, 0.5, 0.77])
        times = (self.times[:-1, None] + np.diff(self.times)[:, None] * fractions).ravel()
        times = np.append(times, self.times[-1])
        a, b = self.at(times), other.at(times)
        if self.isRotation:
            b = np.where(np.sum(a * b, axis=1, keepdims=True) < 0, -b, b)
            return 4 * np.arcsin(np.clip(np.linalg.norm(a - b, axis=1) / 2, 0, 1)).max()
        return np.linalg.norm(a - b, axis=1).max() if self.isVector else np.abs(a - b).max()


def tracks(path):
    file = GltfFile(path)
    return [[Track(file, animation, channel) for channel in animation["channels"]]
            for animation in file.items("animations")]


def check(before, after):
    """(lines of failures, keys before, keys after, largest difference)."""
    lines, count, left, worst = [], 0, 0, 0.0
    for clipA, clipB in zip(before, after):
        if len(clipA) != len(clipB):
            lines.append(f"{len(clipA)} tracks became {len(clipB)}")
            continue
        for a, b in zip(clipA, clipB):
            keysA, keysB = a.keys(), b.keys()
            count += len(keysA)
            left += len(keysB)
            rest = iter(keysA)
            if not all(key in rest for key in keysB):  # in order, each found behind the one before
                lines.append(f"{a.label}: keys that were not there before")
            if (keysA[0], keysA[-1]) != (keysB[0], keysB[-1]):
                lines.append(f"{a.label}: another first or last key")
            difference = a.difference(b)
            worst = max(worst, difference)
            if not difference <= TOLERANCE + NOISE:
                lines.append(f"{a.label}: off by {difference:.3g}")
    if len(before) != len(after):
        lines.append(f"{len(before)} clips became {len(after)}")
    return lines, count, left, worst


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--kxopt", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--scenes")
    arguments = parser.parse_args()
    folder = arguments.scenes or assetsFolder("scenes")
    kxopt = os.path.abspath(arguments.kxopt)
    os.makedirs(arguments.work, exist_ok=True)
    failures = scenes = 0
    for source in sorted(glob.glob(os.path.join(glob.escape(folder), "*", "*.gl*"))):
        if not GltfFile(source).items("animations"):
            continue
        scenes += 1
        stem = os.path.join(arguments.work, os.path.splitext(os.path.basename(source))[0])

        def run(*command):
            result = subprocess.run([kxopt, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                    timeout=120)
            return [] if result.returncode == 0 else [f"exit status {result.returncode}"] + result.stderr.splitlines()

        for name, steps in (("reduce", ["kxReduceKeyframes"]), ("all", ALL), ("pieces", PIECES)):
            with open(f"{stem}.{name}.ini", "w") as file:
                file.write(script(steps))
        lines = run("convert", source, f"{stem}.plain.glb")
        for name in ("reduce", "all", "pieces"):
            lines += run("run", source, "-s", f"{stem}.{name}.ini", "-o", f"{stem}.{name}.glb", "--verify-each")
        lines += run("compare", source, f"{stem}.pieces.glb")
        if not lines:
            sizes = [os.path.getsize(f"{stem}.{name}.glb") for name in ("plain", "reduce", "all")]
            lines, count, left, worst = check(tracks(source), tracks(f"{stem}.reduce.glb"))
            if sizes[1] > sizes[0] or sizes[2] > sizes[0]:
                lines.append(f"{sizes[0]} bytes became {sizes[1]} and {sizes[2]}")
            print(f"{os.path.basename(source)}: {left} of {count} keys left, off by {worst:.3g}, "
                  f"{sizes[0]} bytes became {sizes[1]}, {sizes[2]} with all optimizations")
        failures += bool(lines)
        for line in lines[:10]:
            print(f"FAILED {os.path.basename(source)}: {line}")
    print(f"{scenes} animated scenes, {failures} failures")
    return 1 if failures or not scenes else 0


if __name__ == "__main__":
    sys.exit(main())
