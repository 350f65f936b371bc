"""What the tests of the command share: running it in a folder of its own, golden files, small scenes."""

import base64
import difflib
import json
import os
import shutil
import struct
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
GOLDEN = os.path.join(ROOT, "tests", "golden", "cli")
KXOPT = os.environ["KXOPT"]
PLUGINS = os.environ["KXOPT_TEST_PLUGINS"]

# One triangle, one byte order, no indices.
TRIANGLE = struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)
# A PNG of one grey pixel.
PIXEL = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4nGNoAAAAggCBd81ytgAAAABJRU5ErkJggg==")


def script(*steps, **settings):
    """Text of a script: each step a class name, or a pair of it and a dictionary of keys."""
    lines = ["[OPTIMIZE]", f"optimizationCount = {len(steps)}"]
    lines += [f"{key} = {value}" for key, value in settings.items()]
    for number, step in enumerate(steps, 1):
        name, keys = (step, {}) if isinstance(step, str) else step
        lines += [f"[OPTIMIZATION{number}]", f"name = {name}"]
        lines += [f"{key} = {value}" for key, value in keys.items()]
    return "\n".join(lines) + "\n"


def gltfScene():
    """A house drawn twice: a shared mesh with two equal materials, a texture in the file and one beside it, a camera."""
    return {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"name": "Square", "nodes": [0, 3]}],
        "nodes": [
            {"name": "Row", "children": [1, 2]},
            {"name": "House 1", "mesh": 0},
            {"name": "House 2", "mesh": 0, "translation": [2, 0, 0]},
            {"name": "Eye", "camera": 0},
        ],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
        "meshes": [{"name": "House", "primitives": [
            {"attributes": {"POSITION": 0}, "material": 0},
            {"attributes": {"POSITION": 0}, "material": 1},
        ]}],
        "materials": [
            {"name": "Wall", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}},
            {"name": "Wall again", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}},
             "emissiveTexture": {"index": 1}},
        ],
        "textures": [{"source": 0}, {"source": 1}],
        "images": [
            {"name": "Plaster", "mimeType": "image/png",
             "uri": "data:image/png;base64," + base64.b64encode(PIXEL).decode()},
            {"name": "Lamp", "uri": "lamp.png"},
        ],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                       "min": [0, 0, 0], "max": [1, 1, 0]}],
        "bufferViews": [{"buffer": 0, "byteLength": len(TRIANGLE)}],
        "buffers": [{"byteLength": len(TRIANGLE),
                     "uri": "data:application/octet-stream;base64," + base64.b64encode(TRIANGLE).decode()}],
    }


class CliTest(unittest.TestCase):
    """A test with a folder of its own, in which the command runs and `scene.gltf` lies."""

    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="kxopt")
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("scene.gltf", json.dumps(gltfScene()))
        self.write("lamp.png", PIXEL)
        self.write("Veltrin.ini", script("kxRepairHierarchy"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def exists(self, name):
        return os.path.lexists(self.path(name))

    def environment(self, **changes):
        environment = {key: value for key, value in os.environ.items() if key not in ("NO_COLOR", "KXOPT_PLUGINS")}
        environment["KXOPT_FROZEN_CLOCK"] = "1"
        environment.update(changes)
        return environment

    def kxopt(self, *arguments, status=0, plugins=False, **options):
        """Runs the command and gives what it printed, (standard output, standard error). `status` may be several."""
        environment = self.environment(**({"KXOPT_PLUGINS": PLUGINS} if plugins else {}))
        result = subprocess.run([KXOPT, *arguments], cwd=self.folder, env=environment, stdin=subprocess.DEVNULL,
                                capture_output=True, timeout=120, **options)
        out, err = result.stdout.decode(), result.stderr.decode()
        expected = status if isinstance(status, tuple) else (status,)
        self.assertIn(result.returncode, expected, f"kxopt {' '.join(arguments)}\n{out}\n{err}")
        return out, err

    def assertOneError(self, err, *parts):
        """One line "kxopt: ..." that holds each of the parts."""
        lines = err.splitlines()
        self.assertEqual(len(lines), 1, err)
        self.assertTrue(lines[0].startswith("kxopt: "), err)
        for part in parts:
            self.assertIn(part, lines[0])

    def assertGolden(self, name, text):
        """Compares with tests/golden/cli/`name`; with KXOPT_ACCEPT=1 the file becomes what was printed."""
        path = os.path.join(GOLDEN, name)
        if os.environ.get("KXOPT_ACCEPT") == "1":
            os.makedirs(GOLDEN, exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)
            return
        expected = ""
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                expected = file.read()
        if text != expected:
            lines = difflib.unified_diff(expected.splitlines(True), text.splitlines(True), "golden", "printed")
            self.fail(f"differs from tests/golden/cli/{name} (scripts/test --accept -L cli rewrites it):\n" + "".join(lines))
