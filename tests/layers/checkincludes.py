#!/usr/bin/env python3
"""Holds every #include of the product against the table of layers, and every source line against a few words.

    checkincludes.py [--root DIR]

A folder may include those above it in LAYERS and none below, and of outside libraries only those named beside it. Lines
that name a place on somebody's machine, or that put work off, are faults too, in all sources. Each fault is printed as
`file:line: what`. Exit status: 0 none, 1 some.
"""

import argparse
import os
import re
import sys

# Folder -> outside libraries, from the ground up. A folder sees itself and what stands before it, but for HIDDEN.
LAYERS = {
    "platform/math": {"Imath"},
    "platform/core": set(),
    "platform/utils": set(),
    "platform/gfx": {"stb", "squish"},
    "platform/attrs": set(),
    "platform/sg": set(),
    "opt": set(),
    "interop/images": {"spng", "jpeg", "webp", "zlib"},
    "interop/gltf": {"RapidJSON"},
    "tools": {"CLI11"},
}
HIDDEN = {"interop/images": {"opt"}, "interop/gltf": {"opt"}}

# How the outside libraries are included.
OUTSIDE = {
    "Imath": r"Imath/|Imath\w*\.h$|half\.h$",
    "RapidJSON": r"rapidjson/",
    "CLI11": r"CLI/",
    "spng": r"spng\.h$",
    "jpeg": r"jpeglib\.h$|jerror\.h$|turbojpeg\.h$",
    "webp": r"webp/",
    "zlib": r"zlib\.h$|zconf\.h$",
    "stb": r"(stb/)?stb_\w+\.h$",
    "squish": r"squish\.h$",
    "GoogleTest": r"gtest/|gmock/",
    "Google Benchmark": r"benchmark/",
}

# C and C++ standard library without extension or with the C names, and what the operating system offers.
SYSTEM = re.compile(
    r"[a-z_]+$|(assert|ctype|errno|float|inttypes|limits|locale|math|setjmp|signal|stdarg|stddef|stdint|stdio|stdlib|"
    r"string|time|wchar)\.h$|(sys/\w+|dirent|dlfcn|fcntl|glob|pthread|sched|termios|unistd|\w+intrin|arm_neon|cpuid)\.h$|"
    r"(sanitizer/\w+)\.h$")

SOURCES = ("platform", "opt", "interop", "tools", "plugins", "examples", "tests", "bench", "fuzz", "cmake", "scripts",
           "docs")
SUFFIXES = (".h", ".cpp", ".in", ".cmake", ".txt", ".py", ".mjs", ".ini", ".md")
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^">]+)[">]')
WORDS = [
    (re.compile(r"(?<![\w.})\]/-])/(?:home|root|tmp|work|Users|mnt)/\w"), "a place on one machine"),
    (re.compile(r"\b[A-Z]:\\+(?:Users|Temp|Work)\b", re.IGNORECASE), "a place on one machine"),
    (re.compile(r"\b(?:TO[D]O|FIX[M]E|XX[X])\b"), "work put off"),
]


def layerOf(path):
    return next((layer for layer in LAYERS if path.startswith(layer + "/")), None)


def includeFault(layer, mark, included):
    """What is wrong with an include of a file in `layer`, or None."""
    target = layerOf(included)
    if target:
        order = list(LAYERS)
        if target in HIDDEN.get(layer, ()) or order.index(target) > order.index(layer):
            return f"{layer} must not see {target}"
        return None
    library = next((name for name, pattern in OUTSIDE.items() if re.match(pattern, included)), None)
    if library:
        return None if library in LAYERS[layer] else f"{layer} must not see {library}"
    if mark == '"':
        return "is not written from the root of the tree" if "/" not in included else "is no folder of the product"
    return None if SYSTEM.match(included) else f"{layer} uses a library that the table of layers does not name"


def filesIn(root, folder):
    for place, folders, names in os.walk(os.path.join(root, folder)):
        folders[:] = sorted(name for name in folders if name not in ("node_modules", "__pycache__"))
        for name in sorted(names):
            if name.endswith(SUFFIXES) or folder == "scripts":
                yield os.path.relpath(os.path.join(place, name), root).replace(os.sep, "/")


def faults(root):
    for folder in SOURCES:
        for path in filesIn(root, folder):
            with open(os.path.join(root, path), encoding="utf-8", errors="replace") as file:
                lines = file.read().splitlines()
            layer = layerOf(path) if path.endswith((".h", ".cpp")) else None
            for number, line in enumerate(lines, 1):
                include = INCLUDE.match(line)
                if include and layer:
                    fault = includeFault(layer, *include.groups())
                    if fault:
                        yield f"{path}:{number}: {include.group(2)}: {fault}"
                for pattern, what in WORDS:
                    if pattern.search(line):
                        yield f"{path}:{number}: {what}: {line.strip()[:100]}"


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--root", default=os.path.dirname(os.path.dirname(here)))
    found = list(faults(parser.parse_args().root))
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
