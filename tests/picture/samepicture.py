#!/usr/bin/env python3
"""Do two glTF files show the same picture, and does the second still hold all that the first holds?

    samepicture.py A B [--tolerance 1e-5] [--picture-only] [--limit 20]

Picture: for every path from a root of a scene to a primitive, camera or light, what is drawn there (vertices corner
by corner, world matrix, material with its textures, morph targets, joints, variants, instances), compared as multisets;
and all animation channels. Inventory: counts, names and contents of the things in the file, their extras and
extensions, the places of all nodes; not what belongs to the packing of the data (buffers, buffer views, accessors).
Exit status: 0 same, 1 different (the differences are printed), 2 a file that cannot be read or arguments that make no
sense.
"""

import argparse
import collections
import json
import sys

try:
    import numpy as np
except ImportError:
    print("samepicture: SKIPPED: numpy is not installed", file=sys.stderr)
    sys.exit(77)

from gltffile import GltfError, GltfFile
from picture import NAMED_KINDS, Picture


class Matcher:
    """Pairs two multisets of Things; pairs of arrays are compared once, however many Things share them."""

    def __init__(self, tolerance):
        self.tolerance = tolerance
        self._close = {}

    def compare(self, what, left, right):
        """Lines that name what has no partner on the other side."""
        left, right = _withoutEqual(left, right)
        buckets = collections.defaultdict(list)
        for thing in right:
            buckets[_bucketOf(thing)].append(thing)
        alone = []
        for thing in left:
            candidates = buckets[_bucketOf(thing)]
            partner = self._partner(thing, candidates)
            if partner is None:
                alone.append(thing)
            else:
                candidates.remove(partner)
        return self._explain(what, alone, [thing for bucket in buckets.values() for thing in bucket])

    def _partner(self, thing, candidates):
        placed = thing.numbers.get("world matrix")
        if placed is not None and len(candidates) > 8:
            worlds = np.array([candidate.numbers["world matrix"].values for candidate in candidates])
            distances = (np.abs(worlds - placed.values) / placed.scale).max(axis=(1, 2))
            order = np.argsort(distances, kind="stable")
            candidates = [candidates[index] for index in order if not distances[index] > 2 * self.tolerance]
        return next((candidate for candidate in candidates if not self._differing(thing, candidate)), None)

    def _differing(self, left, right):
        return [name for name, numbers in left.numbers.items()
                if name not in right.numbers or not self._isClose(numbers, right.numbers[name])]

    def _isClose(self, left, right):
        if left.key == right.key:
            return True
        pair = (left.key, right.key)
        if pair not in self._close or not isinstance(left.scale, float):
            self._close[pair] = self.distance(left, right) <= self.tolerance
        return self._close[pair]

    @staticmethod
    def distance(left, right):
        """The largest difference, in units of the scale; where both have no number there is no difference."""
        a, b = np.asarray(left.values, np.float64), np.asarray(right.values, np.float64)
        if a.shape != b.shape:
            return float("inf")
        if not a.size:
            return 0.0
        with np.errstate(invalid="ignore"):
            difference = np.abs(a - b) / np.maximum(left.scale, right.scale)
        difference[(a == b) | (np.isnan(a) & np.isnan(b))] = 0
        return float(np.where(np.isnan(difference), np.inf, difference).max())

    def _explain(self, what, left, right):
        lines = []
        partners = collections.defaultdict(list)
        for thing in right:
            partners[thing.label].append(thing)
        for thing in left:
            if not partners[thing.label]:
                lines.append(f"{what}: only in A: {thing.label}")
                continue
            partner = partners[thing.label].pop(0)
            for part in sorted({*thing.discrete, *partner.discrete}):
                if thing.discrete.get(part) != partner.discrete.get(part):
                    lines.append(f"{what}: {thing.label}: {part}: " +
                                 _jsonDifference(thing.discrete.get(part), partner.discrete.get(part)))
            for part in self._differing(thing, partner):
                other = partner.numbers.get(part)
                far = float("inf") if other is None else self.distance(thing.numbers[part], other)
                lines.append(f"{what}: {thing.label}: {part} differs by {far:.3g} of its extent")
            lines.extend(f"{what}: {thing.label}: {part} only in B"
                         for part in partner.numbers if part not in thing.numbers)
        lines.extend(f"{what}: only in B: {thing.label}" for things in partners.values() for thing in things)
        return lines


def _bucketOf(thing):
    """What no scene reaches has no place, and no partner among what has one."""
    return thing.bucket, "world matrix" in thing.numbers


def _withoutEqual(left, right):
    counts = collections.Counter(thing.exact for thing in right)
    leftAlone = []
    for thing in left:
        if counts[thing.exact]:
            counts[thing.exact] -= 1
        else:
            leftAlone.append(thing)
    rightAlone = []
    for thing in reversed(right):
        if counts[thing.exact]:
            counts[thing.exact] -= 1
            rightAlone.append(thing)
    return leftAlone, rightAlone[::-1]


def _jsonDifference(left, right):
    """Where two canonical texts part: the path of the first property that differs."""
    if left is None or right is None:
        return f"{_short(left)} in A, {_short(right)} in B"
    try:
        a, b = json.loads(left), json.loads(right)
    except ValueError:
        return f"{_short(left)} in A, {_short(right)} in B"
    path = []
    while isinstance(a, dict) and isinstance(b, dict):
        key = next((key for key in sorted({*a, *b}) if a.get(key) != b.get(key) or (key in a) != (key in b)), None)
        if key is None:
            break
        path.append(key)
        a, b = a.get(key), b.get(key)
    return f"{'.'.join(path)}{': ' if path else ''}{_short(json.dumps(a))} in A, {_short(json.dumps(b))} in B"


def _short(text):
    text = "nothing" if text is None else str(text)
    return text if len(text) <= 120 else text[:117] + "..."


def _compareCounted(what, left, right):
    """Multisets of plain values."""
    left, right = collections.Counter(left), collections.Counter(right)
    lines = []
    for side, surplus in (("A", left - right), ("B", right - left)):
        for value, count in sorted(surplus.items(), key=str):
            text = " = ".join(_short(part) for part in value) if isinstance(value, tuple) else repr(_short(value))
            lines.append(f"{what}: only in {side}: {text}" + (f" ({count} times)" if count > 1 else ""))
    return lines


def comparePictures(a, b, matcher):
    lines = []
    scenesA, scenesB = a.scenes(), b.scenes()
    if len(scenesA) != len(scenesB):
        lines.append(f"scenes: {len(scenesA)} in A, {len(scenesB)} in B")
    if a.file.json.get("scene") != b.file.json.get("scene"):
        lines.append(f"default scene: {a.file.json.get('scene')} in A, {b.file.json.get('scene')} in B")
    for number, (rootsA, rootsB) in enumerate(zip(scenesA, scenesB)):
        lines += matcher.compare(f"scene {number}", list(a.draws(rootsA)), list(b.draws(rootsB)))
    animationsA = [(name, channel) for name, channels in a.animations() for channel in channels]
    animationsB = [(name, channel) for name, channels in b.animations() for channel in channels]
    for name in sorted({name for name, _ in animationsA + animationsB}):
        lines += matcher.compare("animation", [channel for other, channel in animationsA if other == name],
                                 [channel for other, channel in animationsB if other == name])
    return lines


def compareInventories(a, b, matcher):
    lines = []
    countsB = b.counts()
    for kind, count in a.counts().items():
        if count != countsB[kind]:
            lines.append(f"count of {kind}: {count} in A, {countsB[kind]} in B")
    namesB = b.names()
    for kind, names in a.names().items():
        lines += _compareCounted(f"names of {kind}", names, namesB[kind])
    for key in ("extensionsUsed", "extensionsRequired"):
        lines += _compareCounted(key, set(a.file.json.get(key, [])), set(b.file.json.get(key, [])))
    if a.file.json.get("asset", {}).get("copyright") != b.file.json.get("asset", {}).get("copyright"):
        lines.append("asset: the copyright differs")
    lines += _compareCounted("extras", a.extras(), b.extras())
    lines += _compareCounted("extension", a.extensions(), b.extensions())
    for number, (rootsA, rootsB) in enumerate(zip(a.scenes(), b.scenes())):
        lines += matcher.compare(f"hierarchy of scene {number}", list(a.places(rootsA)), list(b.places(rootsB)))
    lines += _compareCounted("content", a.contents(), b.contents())
    lines += matcher.compare("meshes", list(a.primitives()), list(b.primitives()))
    lines += matcher.compare("skins", list(a.skins()), list(b.skins()))
    if a.opaque:
        # Numbers that this program does not understand may be indices: they mean the same only while nothing moved.
        namesA = a.names()
        for kind in NAMED_KINDS:
            if namesA[kind] != namesB[kind] and sorted(namesA[kind]) == sorted(namesB[kind]):
                lines.append(f"order of {kind} differs, and {', '.join(sorted(a.opaque))} may hold indices")
    return lines


def compare(pathA, pathB, tolerance=1e-5, inventory=True):
    """Lines that say how B differs from A; none when they are the same. Raises GltfError for what cannot be read."""
    pictures = []
    for path in (pathA, pathB):
        file = GltfFile(path)
        if file.compression():
            raise GltfError(f"{path}: needs {file.compression()}, which this program cannot decode")
        pictures.append(Picture(file))
    matcher = Matcher(tolerance)
    lines = comparePictures(*pictures, matcher)
    if inventory:
        lines += compareInventories(*pictures, matcher)
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("a", metavar="A")
    parser.add_argument("b", metavar="B")
    parser.add_argument("--tolerance", type=float, default=1e-5, help="relative to the extent of what is compared")
    parser.add_argument("--picture-only", action="store_true", help="leave the inventory out")
    parser.add_argument("--limit", type=int, default=20, help="differences to print")
    arguments = parser.parse_args()
    try:
        lines = compare(arguments.a, arguments.b, arguments.tolerance, not arguments.picture_only)
    except GltfError as error:
        print(f"samepicture: {error}", file=sys.stderr)
        return 2
    except (KeyError, IndexError, TypeError, ValueError, AttributeError) as error:
        print(f"samepicture: {arguments.a}, {arguments.b}: not valid glTF: {error!r}", file=sys.stderr)
        return 2
    for line in lines[: arguments.limit]:
        print(line)
    if len(lines) > arguments.limit:
        print(f"... and {len(lines) - arguments.limit} more differences")
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
