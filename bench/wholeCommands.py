#!/usr/bin/env python3
"""Whole commands over one city: this one (load, share, collapse, flatten, write) beside the tools that are installed.

    wholeCommands.py [--build build] [--nodes 100000]

Looks for gltfpack, gltf-transform (its commands dedup, flatten and prune) and osgconv on the PATH and leaves out what is not
there. Prints user seconds and peak memory of each, and how many times as long it took as this command, in one run.
"""

import argparse
import os
import shutil
import subprocess
import tempfile
import time

SCRIPT = """[OPTIMIZE]
optimizationCount = 3
[OPTIMIZATION1]
name = kxShareAttrs
attributeType = kxAttr
[OPTIMIZATION2]
name = kxCollapseHierarchy
nodeType = kxGroup
[OPTIMIZATION3]
name = kxFlattenHierarchy
"""
LIMIT = 900  # seconds; some of them take minutes on deep scenes


def measure(command):
    """(user seconds, peak megabytes), or a word that says why not."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    end = time.monotonic() + LIMIT
    while True:
        pid, status, usage = os.wait4(process.pid, os.WNOHANG)
        if pid:
            process.returncode = status
            return (usage.ru_utime, usage.ru_maxrss / 1024) if status == 0 else "failed"
        if time.monotonic() > end:
            process.kill()
            os.wait4(process.pid, 0)
            return "took too long"
        time.sleep(0.01)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build")
    parser.add_argument("--nodes", type=int, default=100000)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        city, out, script = (os.path.join(folder, name) for name in ("city.glb", "out.glb", "script.ini"))
        subprocess.run([os.path.join(arguments.build, "examples/kxMakeScene"), city, "--shape", "city", "--nodes",
                        str(arguments.nodes)], check=True)
        with open(script, "w") as file:
            file.write(SCRIPT)
        commands = [("kxopt", [os.path.join(arguments.build, "tools/kxopt/kxopt"), "run", city, "-s", script, "-o", out])]
        if shutil.which("gltfpack"):
            commands.append(("gltfpack", ["gltfpack", "-noq", "-i", city, "-o", out]))
            commands.append(("gltfpack, names kept", ["gltfpack", "-noq", "-kn", "-i", city, "-o", out]))
        if shutil.which("gltf-transform"):
            for name in ("dedup", "flatten", "prune"):
                commands.append((f"gltf-transform {name}", ["gltf-transform", name, city, out]))
        if shutil.which("osgconv"):
            commands.append(("osgconv -O", ["osgconv", "-O", "OPTIMIZE", city, os.path.join(folder, "out.osgb")]))
        reference = None
        print(f"{'command':<24} {'user s':>8} {'peak MB':>8} {'ratio':>7}")
        for name, command in commands:
            result = measure(command)
            if isinstance(result, str):
                print(f"{name:<24} {result}")
                continue
            reference = reference or result[0]
            print(f"{name:<24} {result[0]:8.2f} {result[1]:8.0f} {result[0] / reference:7.2f}")


if __name__ == "__main__":
    main()
