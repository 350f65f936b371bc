#!/usr/bin/env python3
"""Runs the command over files it has to carry through whole, to load, or to survive, and checks what comes out.

    roundtrip.py --kxopt PATH --work DIR [--scenes [DIR]] [--valid [DIR]] [--malformed [DIR]] [--script INI]

--scenes     every scene goes through `kxopt run` to .glb and to .gltf: same picture, same inventory, no more errors of
             the validator than in the input; a scene that requires a compression is refused by name; two runs write the
             same bytes
--valid      every file is loaded, exit status 0, and shows the same picture afterwards
--malformed  every file ends within 10 seconds with status 0, 1 or 2 and never by a signal; a refusal is one line
A folder that is left out is looked for in the assets. Exit status: 0 all well, 1 failures (each is printed with its
file), 2 arguments, 77 a part could not be checked although nothing failed (no assets, no numpy, no validator).
"""

import argparse
import glob
import json
import os
import shutil
import subprocess
import sys

import samepicture
from assets import assetsFolder
from gltffile import GltfError, GltfFile

SCRIPT = "[OPTIMIZE]\noptimizationCount = 1\n[OPTIMIZATION1]\nname = kxRepairHierarchy\n"
SANITIZER_MARKS = ("AddressSanitizer", "LeakSanitizer", "UndefinedBehaviorSanitizer", ": runtime error: ")
ASSETS = object()


class Checker:
    def __init__(self, arguments):
        self.kxopt = os.path.abspath(arguments.kxopt)
        self.work = os.path.abspath(arguments.work)
        self.tolerance = arguments.tolerance
        self.failures = 0
        self.skipped = []
        for part in ("scenes", "again", "valid", "malformed"):
            shutil.rmtree(os.path.join(self.work, part), ignore_errors=True)
        os.makedirs(self.work, exist_ok=True)
        self.script = os.path.abspath(arguments.script) if arguments.script else os.path.join(self.work, "script.ini")
        if not arguments.script:
            with open(self.script, "w") as file:
                file.write(SCRIPT)

    def fail(self, name, lines):
        self.failures += 1
        for line in lines[:10]:
            print(f"FAILED {name}: {line}")
        if len(lines) > 10:
            print(f"FAILED {name}: ... and {len(lines) - 10} more")

    def run(self, name, source, target, seconds):
        """(exit status, lines of standard error); None, and a failure, when it hung, crashed or a sanitizer spoke."""
        os.makedirs(os.path.dirname(target), exist_ok=True)
        command = [self.kxopt, "run", source, "-s", self.script, "-o", target]
        try:
            result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=seconds,
                                    cwd=self.work)
        except subprocess.TimeoutExpired:
            self.fail(name, [f"still running after {seconds} s"])
            return None
        errors = result.stderr.decode("utf-8", "replace").splitlines()
        if result.returncode < 0:
            self.fail(name, [f"ended by signal {-result.returncode}"] + errors[-5:])
            return None
        marked = next((n for n, line in enumerate(errors) if any(mark in line for mark in SANITIZER_MARKS)), None)
        if marked is not None:
            self.fail(name, errors[marked : marked + 10])
            return None
        if result.returncode not in (0, 1, 2):
            self.fail(name, [f"exit status {result.returncode}"] + errors[-5:])
            return None
        return result.returncode, errors

    def comparePictures(self, name, source, target, inventory):
        try:
            lines = samepicture.compare(source, target, self.tolerance, inventory)
        except GltfError as error:
            lines = [str(error)]
        except (KeyError, IndexError, TypeError, ValueError, AttributeError) as error:
            lines = [f"one of {source}, {target} is no valid glTF: {error!r}"]
        if lines:
            self.fail(name, lines)

    def checkRefusal(self, name, errors, target):
        """One line that names the file or the reason, and no output."""
        said = [line for line in errors if line.startswith("kxopt: ")]
        if len(said) != 1:
            self.fail(name, [f"exit status 2 with {len(said)} lines that begin with 'kxopt: '"] + errors[:5])
        if os.path.exists(target):
            self.fail(name, [f"refused, but wrote {target}"])

    # ---- the three parts

    def scenes(self, folder):
        written = []
        richest = None
        for source in sorted(glob.glob(os.path.join(glob.escape(folder), "*", "*.gl*"))):
            scene = os.path.basename(os.path.dirname(source))
            compression = GltfFile(source).compression()
            for suffix in ("glb", "gltf"):
                name = f"{scene} ({suffix})"
                stem = os.path.splitext(os.path.basename(source))[0]
                target = os.path.join(self.work, "scenes", scene, suffix, f"{stem}.{suffix}")
                outcome = self.run(name, source, target, 120)
                if outcome is None:
                    continue
                status, errors = outcome
                if compression:
                    self.checkCompressionRefused(name, compression, status, errors, target)
                elif status != 0:
                    self.fail(name, [f"exit status {status}"] + errors[:5])
                elif not os.path.exists(target):
                    self.fail(name, ["exit status 0, but no output written"])
                else:
                    self.comparePictures(name, source, target, inventory=True)
                    written.append((name, source, target))
                    if richest is None or len(GltfFile(source).json) > len(GltfFile(richest[0]).json):
                        richest = (source, target)
        if richest:
            self.checkSameBytes(*richest)
        self.validate(written)
        print(f"scenes: {len(written)} files written")

    def checkCompressionRefused(self, name, compression, status, errors, target):
        if status != 2 or len(errors) != 1 or not errors[0].startswith("kxopt: ") or compression not in errors[0]:
            self.fail(name, [f"exit status {status}; wanted 2 and one line that names {compression}"] + errors[:5])
        if os.listdir(os.path.dirname(target)):
            self.fail(name, ["refused, but left something in the folder of the output"])

    def checkSameBytes(self, source, target):
        again = os.path.join(self.work, "again", os.path.basename(target))
        name = f"{os.path.basename(source)} (second run)"
        if self.run(name, source, again, 120) is None:
            return
        first, second = os.path.dirname(target), os.path.dirname(again)
        if sorted(os.listdir(first)) != sorted(os.listdir(second)):
            self.fail(name, ["wrote other files than the first"])
        for file in sorted({*os.listdir(first)} & {*os.listdir(second)}):
            with open(os.path.join(first, file), "rb") as a, open(os.path.join(second, file), "rb") as b:
                if a.read() != b.read():
                    self.fail(name, [f"wrote other bytes to {file} than the first"])

    def validate(self, written):
        """No error code may occur more often in the output than in the input."""
        if not written:
            return
        program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "validate.mjs")
        files = list(dict.fromkeys(path for _, source, target in written for path in (source, target)))
        if shutil.which("node") is None:
            self.skipped.append("validator: node is not installed")
            return
        result = subprocess.run(["node", program, *files], stdin=subprocess.DEVNULL, capture_output=True, text=True)
        if result.returncode == 77:
            self.skipped.append("validator: gltf-validator is not installed (scripts/setup installs it)")
            return
        if result.returncode != 0:
            self.fail("validator", result.stderr.splitlines())
            return
        reports = {report["file"]: report["errors"] for report in map(json.loads, result.stdout.splitlines())}
        for name, source, target in written:
            before = reports[source]
            more = [f"validator: {code} {count} times, {before.get(code, 0)} in the input"
                    for code, count in sorted(reports[target].items()) if count > before.get(code, 0)]
            if more:
                self.fail(name, more)

    def valid(self, folder):
        files = filesBelow(folder)
        for number, source in enumerate(files):
            name = os.path.relpath(source, folder)
            target = os.path.join(self.work, "valid", str(number), os.path.basename(source))
            outcome = self.run(name, source, target, 60)
            if outcome is None:
                continue
            if outcome[0] != 0:
                self.fail(name, [f"exit status {outcome[0]}"] + outcome[1][:5])
            elif not os.path.exists(target):
                self.fail(name, ["exit status 0, but no output written"])
            else:
                self.comparePictures(name, source, target, inventory=False)
        print(f"valid: {len(files)} files")

    def malformed(self, folder):
        files = filesBelow(folder)
        statuses = {0: 0, 1: 0, 2: 0}
        for number, source in enumerate(files):
            name = os.path.relpath(source, folder)
            target = os.path.join(self.work, "malformed", str(number), "out.glb")
            outcome = self.run(name, source, target, 10)
            if outcome is None:
                continue
            statuses[outcome[0]] += 1
            if outcome[0] == 2:
                self.checkRefusal(name, outcome[1], target)
            elif outcome[0] == 0 and not os.path.exists(target):
                self.fail(name, ["exit status 0, but no output written"])
        print(f"malformed: {len(files)} files, " + ", ".join(f"{n} with status {s}" for s, n in statuses.items()))


def filesBelow(folder):
    return sorted(path for path in glob.glob(os.path.join(glob.escape(folder), "**", "*"), recursive=True)
                  if path.endswith((".gltf", ".glb")))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--kxopt", required=True)
    parser.add_argument("--work", required=True, help="folder for the output")
    parser.add_argument("--script")
    parser.add_argument("--tolerance", type=float, default=1e-5)
    for part in ("scenes", "valid", "malformed"):
        parser.add_argument(f"--{part}", nargs="?", const=ASSETS, metavar="DIR")
    arguments = parser.parse_args()
    folders = {part: getattr(arguments, part) for part in ("scenes", "valid", "malformed")}
    folders = {part: assetsFolder(part) if folder is ASSETS else os.path.abspath(folder)
               for part, folder in folders.items() if folder is not None}
    if not folders:
        parser.error("one of --scenes, --valid, --malformed is needed")
    checker = Checker(arguments)
    for part, folder in folders.items():
        getattr(checker, part)(folder)
    for line in checker.skipped:
        print(f"SKIPPED {line}")
    print(f"{checker.failures} failures")
    return 1 if checker.failures else 77 if checker.skipped else 0


if __name__ == "__main__":
    sys.exit(main())
