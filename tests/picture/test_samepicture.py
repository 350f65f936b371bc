"""Edits of a small scene: those that keep the picture have to pass, each of the others has to be named.

    test_samepicture.py
    test_samepicture.py --scenes [DIR]     compares every real scene with itself instead; 77 when there are none
"""

import base64
import copy
import glob
import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest

try:
    import numpy as np
except ImportError:
    print("test_samepicture: SKIPPED: numpy is not installed")
    sys.exit(77)

import samepicture
from assets import assetsFolder
from gltffile import GltfError

FLOAT, USHORT, UBYTE = 5126, 5123, 5121
DTYPES = {FLOAT: "<f4", USHORT: "<u2", UBYTE: "<u1"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}


class Builder:
    """A document whose accessors lie in one buffer."""

    def __init__(self):
        self.data = bytearray()
        self.json = {"asset": {"version": "2.0"}, "accessors": [], "bufferViews": []}

    def view(self, data):
        self.data += b"\0" * (-len(self.data) % 4)
        self.json["bufferViews"].append({"buffer": 0, "byteOffset": len(self.data), "byteLength": len(data)})
        self.data += data
        return len(self.json["bufferViews"]) - 1

    def accessor(self, values, kind, component=FLOAT, **more):
        array = np.array(values, DTYPES[component]).reshape(-1, WIDTHS[kind])
        self.json["accessors"].append({"bufferView": self.view(array.tobytes()), "componentType": component,
                                       "count": len(array), "type": kind, **more})
        return len(self.json["accessors"]) - 1

    def change(self, accessor, place, value):
        """Overwrites one number of an accessor made above."""
        item = self.json["accessors"][accessor]
        dtype = np.dtype(DTYPES[item["componentType"]])
        begin = self.json["bufferViews"][item["bufferView"]]["byteOffset"]
        place = begin + place * dtype.itemsize
        self.data[place : place + dtype.itemsize] = np.array(value, dtype).tobytes()

    def write(self, path, binary=False):
        document = dict(self.json)
        if binary:
            document["buffers"] = [{"byteLength": len(self.data)}]
            text = json.dumps(document).encode()
            text += b" " * (-len(text) % 4)
            body = bytes(self.data) + b"\0" * (-len(self.data) % 4)
            with open(path, "wb") as file:
                file.write(struct.pack("<4sIIII", b"glTF", 2, 28 + len(text) + len(body), len(text), 0x4E4F534A) + text)
                file.write(struct.pack("<II", len(body), 0x004E4942) + body)
            return
        uri = "data:application/octet-stream;base64," + base64.b64encode(self.data).decode()
        document["buffers"] = [{"uri": uri, "byteLength": len(self.data)}]
        with open(path, "w", encoding="utf-8") as file:
            json.dump(document, file)


ROOT, BOX, BONE, EYE, LAMP, GRASS = range(6)
POSITION, INDICES, NORMAL, BEND, BIND, TIMES, TURNS, JOINTS, WEIGHTS, SPOTS = range(10)


def makeScene():
    b = Builder()
    b.accessor([0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0], "VEC3", min=[0, 0, 0], max=[1, 1, 0])
    b.accessor([0, 1, 2, 0, 2, 3], "SCALAR", USHORT)
    b.accessor([0, 0, 1] * 4, "VEC3")
    b.accessor([0, 0, 0.5] * 4, "VEC3", min=[0, 0, 0.5], max=[0, 0, 0.5])
    b.accessor(np.eye(4), "MAT4")
    b.accessor([0, 1], "SCALAR", min=[0], max=[1])
    b.accessor([0, 0, 0, 1, 0, 1, 0, 0], "VEC4")
    b.accessor([0, 0, 0, 0] * 4, "VEC4", UBYTE)
    b.accessor([255, 0, 0, 0] * 4, "VEC4", UBYTE, normalized=True)
    b.accessor([0, 0, 0, 5, 0, 0], "VEC3")
    table = b.view(b"values of a table")
    image = b.view(b"\x89PNG not really")
    b.json.update({
        "extensionsUsed": ["KHR_lights_punctual", "KHR_materials_variants", "EXT_mesh_gpu_instancing",
                           "KHR_texture_transform", "KHR_animation_pointer", "VEN_tag"],
        "extensions": {"KHR_lights_punctual": {"lights": [{"name": "Sun", "type": "directional", "intensity": 3},
                                                              {"name": "Spare", "type": "point"}]},
                       "KHR_materials_variants": {"variants": [{"name": "day"}, {"name": "night"}]},
                       "VEN_sound": {"clips": [{"bufferView": table}]},
                       "EXT_structural_metadata": {"propertyTables": [{"properties": {"p": {"values": table}}}]}},
        "scene": 0,
        "scenes": [{"name": "Main", "nodes": [ROOT], "extras": {"mood": "calm"}}],
        "nodes": [{"name": "Root", "children": [BOX, BONE, EYE, LAMP, GRASS], "translation": [100, 0, 0]},
                  {"name": "Box", "mesh": 0, "translation": [1, 2, 3], "scale": [2, 2, 2],
                   "extras": {"id": 7}, "extensions": {"VEN_tag": {"colour": "green"}}},
                  {"name": "Bone", "mesh": 1, "skin": 0, "translation": [0, 4, 0],
                   "extras": {"own": [{"bufferView": table}]}},
                  {"name": "Eye", "camera": 0}, {"name": "Lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}},
                  {"name": "Grass", "mesh": 0, "translation": [1, 2, 3], "rotation": [0, 0.6, 0, 0.8],
                   "scale": [2, 2, 2], "extensions": {
                       "EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": SPOTS}}}}],
        "meshes": [{"name": "Quad", "weights": [0.25], "primitives": [
                        {"attributes": {"POSITION": POSITION, "NORMAL": NORMAL}, "indices": INDICES, "material": 0,
                         "targets": [{"POSITION": BEND}],
                         "extensions": {"KHR_materials_variants": {"mappings": [{"material": 1, "variants": [1]}]}}}]},
                   {"name": "Skin", "primitives": [{"attributes": {
                       "POSITION": POSITION, "JOINTS_0": JOINTS, "WEIGHTS_0": WEIGHTS}, "indices": INDICES}]}],
        "materials": [{"name": "Red", "pbrMetallicRoughness": {
                           "baseColorFactor": [0.800000011920929, 0, 0, 1],
                           "baseColorTexture": {"index": 0, "extensions": {
                               "KHR_texture_transform": {"offset": [0.5, 0]}}}}},
                      {"name": "Dark", "alphaMode": "MASK", "extensions": {"KHR_materials_sheen": {
                          "sheenColorTexture": {"index": 0}}}}],
        "textures": [{"source": 0, "sampler": 0}], "samplers": [{"wrapS": 33071}],
        "images": [{"name": "Paint", "bufferView": image, "mimeType": "image/png"}],
        "skins": [{"name": "Rig", "joints": [BONE], "inverseBindMatrices": BIND}],
        "cameras": [{"name": "Main", "type": "perspective", "perspective": {"yfov": 0.7, "znear": 0.1}}],
        "animations": [{"name": "Spin",
                        "channels": [{"sampler": 0, "target": {"node": BOX, "path": "rotation"}},
                                     {"sampler": 0, "target": {"path": "pointer", "extensions": {
                                         "KHR_animation_pointer": {"pointer": "/nodes/2/rotation"}}}}],
                        "samplers": [{"input": TIMES, "output": TURNS}]}],
    })
    return b


def put(path, value):
    """An edit that sets one property, named by its keys; None takes it away."""

    def edit(b):
        *way, last = path
        item = b.json
        for step in way:
            item = item[step] if not isinstance(item, dict) else item.setdefault(step, {})
        if value is None:
            del item[last]
        else:
            item[last] = value

    return edit


def asMatrix(b):
    # Rotation by (0, 0.6, 0, 0.8): cos = 0.28, sin = 0.96; scale 2; column by column.
    node = b.json["nodes"][GRASS]
    for key in ("translation", "rotation", "scale"):
        del node[key]
    node["matrix"] = [0.56, 0, -1.92, 0, 0, 2, 0, 0, 1.92, 0, 0.56, 0, 1, 2, 3, 1]


def withoutIndices(b):
    corners = [0, 1, 2, 0, 2, 3]
    spread = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]
    primitive = b.json["meshes"][0]["primitives"][0]
    del primitive["indices"]
    primitive["attributes"] = {"POSITION": b.accessor([spread[c] for c in corners], "VEC3"),
                               "NORMAL": b.accessor([0, 0, 1] * 6, "VEC3")}
    primitive["targets"] = [{"POSITION": b.accessor([0, 0, 0.5] * 6, "VEC3")}]


def interleaved(b):
    rows = np.zeros((4, 7), "<f4")
    rows[:, :3] = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]
    rows[:, 3:6] = [0, 0, 1]
    view = b.view(rows.tobytes())
    b.json["bufferViews"][view]["byteStride"] = 28
    for accessor, offset in ((POSITION, 0), (NORMAL, 12)):
        b.json["accessors"][accessor].update({"bufferView": view, "byteOffset": offset})


def sparse(b):
    rows = b.view(np.array([1, 2], "<u2").tobytes())
    values = b.view(np.array([1, 0, 0, 1, 1, 0], "<f4").tobytes())
    base = b.view(np.array([0, 0, 0, 9, 9, 9, 9, 9, 9, 0, 1, 0], "<f4").tobytes())
    b.json["accessors"][POSITION].update({"bufferView": base, "sparse": {
        "count": 2, "indices": {"bufferView": rows, "componentType": USHORT}, "values": {"bufferView": values}}})


def normalsQuantized(b):
    view = b.view(np.array([[0, 0, 127, 0]] * 4, "<i1").tobytes())
    b.json["bufferViews"][view]["byteStride"] = 4
    b.json["accessors"][NORMAL].update({"bufferView": view, "componentType": 5120, "normalized": True})


def renumbered(b):
    """Nodes in the opposite order, all references with them."""
    last = len(b.json["nodes"]) - 1
    b.json["nodes"].reverse()
    for node in b.json["nodes"]:
        if "children" in node:
            node["children"] = [last - child for child in node["children"]]
    b.json["scenes"][0]["nodes"] = [last - ROOT]
    b.json["skins"][0]["joints"] = [last - BONE]
    channels = b.json["animations"][0]["channels"]
    channels[0]["target"]["node"] = last - BOX
    channels[1]["target"]["extensions"]["KHR_animation_pointer"]["pointer"] = f"/nodes/{last - BONE}/rotation"


def extrasMoved(b, data):
    b.json["nodes"][BONE]["extras"]["own"][0]["bufferView"] = b.view(data)


def tableMoved(b, data=b"values of a table"):
    """The bytes that extensions and extras name in a buffer view of their own, with another number."""
    extensions = b.json["extensions"]
    extensions["VEN_sound"]["clips"][0]["bufferView"] = b.view(data)
    extrasMoved(b, data)
    extensions["EXT_structural_metadata"]["propertyTables"][0]["properties"]["p"]["values"] = b.view(data)


def defaultsWritten(b):
    b.json["materials"][0].update({"doubleSided": False, "alphaCutoff": 0.3, "emissiveFactor": [0.0, 0.0, 0.0]})
    b.json["materials"][0]["pbrMetallicRoughness"].update({"metallicFactor": 1.0, "baseColorFactor": [0.8, 0, 0, 1]})
    b.json["materials"][1]["extensions"]["KHR_materials_sheen"]["sheenRoughnessFactor"] = 0
    b.json["samplers"][0]["wrapT"] = 10497
    b.json["meshes"][0]["primitives"][0]["mode"] = 4
    b.json["animations"][0]["samplers"][0]["interpolation"] = "LINEAR"


def meshCopied(b):
    b.json["meshes"].append(copy.deepcopy(b.json["meshes"][0]))
    b.json["nodes"][GRASS]["mesh"] = 2


def materialTaken(b):
    b.json["materials"].append({**b.json["materials"][0], "name": "Rouge"})
    b.json["meshes"][0]["primitives"][0]["material"] = 2


def boxRemoved(b):
    b.json["nodes"][ROOT]["children"].remove(BOX)


def flattened(b):
    """The grass directly under the scene, at the same place."""
    b.json["nodes"][ROOT]["children"].remove(GRASS)
    b.json["scenes"][0]["nodes"].append(GRASS)
    b.json["nodes"][GRASS]["translation"] = [101, 2, 3]


SAME = [
    ("nothing changed", lambda b: None),
    ("a matrix for translation, rotation and scale", asMatrix),
    ("no indices", withoutIndices),
    ("interleaved vertices", interleaved),
    ("sparse positions", sparse),
    ("normals as normalized bytes", normalsQuantized),
    ("nodes renumbered", renumbered),
    ("bytes of extensions moved", tableMoved),
    ("defaults written out, shorter numbers", defaultsWritten),
    ("a node moved by less than the tolerance", put(("nodes", BOX, "translation"), [1.00001, 2, 3])),
    ("whole numbers as fractions", put(("nodes", BOX, "extras"), {"id": 7.0})),
]

SAME_PICTURE_OTHER_INVENTORY = [
    ("a mesh copied", meshCopied, "count of meshes: 2 in A, 3 in B"),
    ("a node under another parent", flattened, "hierarchy of scene 0: only in A: node Root/Grass"),
    ("a name lost", put(("materials", 0, "name"), None), "names of materials: only in A: 'Red'"),
    ("extras of a node dropped", put(("nodes", BOX, "extras"), None), "extras: only in A: nodes 'Box' = {\"id\":7}"),
    ("extras of a scene changed", put(("scenes", 0, "extras", "mood"), "wild"), "extras: only in B: scenes 'Main'"),
    ("an unknown extension changed", put(("nodes", BOX, "extensions", "VEN_tag", "colour"), "red"),
     "extension: only in A: nodes 'Box' = VEN_tag"),
    ("bytes of extensions changed", lambda b: tableMoved(b, b"values of nothing"),
     "extension: only in A: file = EXT_structural_metadata"),
    ("bytes of extras changed", lambda b: extrasMoved(b, b"values of nothing"), "extras: only in A: nodes 'Bone'"),
    ("a declaration dropped", put(("extensionsUsed",), ["KHR_lights_punctual"]),
     "extensionsUsed: only in A: 'VEN_tag'"),
    ("a material taken for one of the same look", materialTaken, "mesh 'Quad' primitive 0: material name"),
    ("an unused light dropped", lambda b: b.json["extensions"]["KHR_lights_punctual"]["lights"].pop(),
     "count of lights: 2 in A, 1 in B"),
]

OTHER_PICTURE = [
    ("a node moved", put(("nodes", BOX, "translation"), [1.01, 2, 3]),
     "Root/Box mesh 'Quad' primitive 0: world matrix"),
    ("a node removed", boxRemoved, "only in A: Root/Box mesh 'Quad' primitive 0"),
    ("a node hidden", put(("nodes", BOX, "extensions", "KHR_node_visibility"), {"visible": False}),
     "Root/Box mesh 'Quad' primitive 0: visible"),
    ("an index changed", lambda b: b.change(INDICES, 4, 1), "POSITION differs by"),
    ("a vertex moved", lambda b: b.change(POSITION, 4, 0.001), "POSITION differs by 0.001"),
    ("another primitive mode", put(("meshes", 0, "primitives", 0, "mode"), 5), "geometry: mode: 4 in A, 5 in B"),
    ("an attribute lost", put(("meshes", 0, "primitives", 0, "attributes", "NORMAL"), None), "geometry: attributes"),
    ("another colour", put(("materials", 0, "pbrMetallicRoughness", "baseColorFactor"), [0.8, 0, 0.01, 1]),
     "material: pbrMetallicRoughness.baseColorFactor"),
    ("alpha mode lost", put(("materials", 1, "alphaMode"), None), "material variants: night"),
    ("texture transform lost", put(("materials", 0, "pbrMetallicRoughness", "baseColorTexture", "extensions"), None),
     "material: pbrMetallicRoughness.baseColorTexture.transform.offset: [0.5, 0] in A, [0, 0] in B"),
    ("a texture in an extension lost", put(("materials", 1, "extensions", "KHR_materials_sheen"), {}),
     "material variants: night"),
    ("another wrap mode", put(("samplers", 0, "wrapS"), 33648), "baseColorTexture.texture.sampler.wrapS"),
    ("other image bytes", lambda b: b.data.__setitem__(-1, 0), "baseColorTexture.texture.image"),
    ("morph weight lost", put(("meshes", 0, "weights"), None), "weights differs by 0.25"),
    ("morph target changed", lambda b: b.change(BEND, 2, 0.6), "TARGET0.POSITION"),
    ("a joint moved", put(("nodes", BONE, "translation"), [0, 4.5, 0]), "joint matrices"),
    ("bind matrix changed", lambda b: b.change(BIND, 12, 0.5), "inverse bind matrices"),
    ("vertex weights changed", lambda b: b.change(WEIGHTS, 0, 250), "WEIGHTS_0"),
    ("an instance moved", lambda b: b.change(SPOTS, 3, 6), "instance TRANSLATION"),
    ("a variant on the other name",
     put(("meshes", 0, "primitives", 0, "extensions", "KHR_materials_variants", "mappings", 0, "variants"), [0]),
     "material variants"),
    ("another lens", put(("cameras", 0, "perspective", "yfov"), 0.8), "camera Root/Eye: camera: perspective.yfov"),
    ("a brighter light", put(("extensions", "KHR_lights_punctual", "lights", 0, "intensity"), 4), "light: intensity"),
    ("an animation key changed", lambda b: b.change(TURNS, 5, 0.5), "rotation of Box: output"),
    ("another interpolation", put(("animations", 0, "samplers", 0, "interpolation"), "STEP"), "interpolation"),
    ("an animation on another node", put(("animations", 0, "channels", 0, "target", "node"), LAMP), "rotation of Box"),
    ("a pointer to another node", put(("animations", 0, "channels", 1, "target", "extensions", "KHR_animation_pointer",
                                       "pointer"), "/nodes/4/rotation"), "/nodes/Bone/rotation"),
    ("an animated node scaled", put(("nodes", BOX, "scale"), [1, 1, 1]), "rotation of Box: scale differs"),
    ("an animation lost", put(("animations",), []), "animation: only in A"),
    ("a scene added", lambda b: b.json["scenes"].append({"nodes": [BOX]}), "scenes: 1 in A, 2 in B"),
]


class SamePicture(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.original = self.path("a.gltf")
        makeScene().write(self.original)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def edited(self, edit, **compare):
        b = makeScene()
        edit(b)
        b.write(self.path("b.gltf"))
        return samepicture.compare(self.original, self.path("b.gltf"), **compare)

    def testWhatKeepsThePicture(self):
        for name, edit in SAME:
            with self.subTest(name):
                self.assertEqual(self.edited(edit), [])

    def testWhatKeepsThePictureButLosesThings(self):
        for name, edit, expected in SAME_PICTURE_OTHER_INVENTORY:
            with self.subTest(name):
                self.assertEqual(self.edited(edit, inventory=False), [])
                self.assertIn(expected, "\n".join(self.edited(edit)))

    def testWhatChangesThePicture(self):
        for name, edit, expected in OTHER_PICTURE:
            with self.subTest(name):
                self.assertIn(expected, "\n".join(self.edited(edit, inventory=False)))

    def testBinaryAndSeparateFiles(self):
        b = makeScene()
        b.write(self.path("b.glb"), binary=True)
        self.assertEqual(samepicture.compare(self.original, self.path("b.glb")), [])
        with open(self.path("pa int ♻.png"), "wb") as file:
            file.write(b"\x89PNG not really")
        b.json["images"][0] = {"name": "Paint", "uri": "pa%20int%20%E2%99%BB.png"}
        b.write(self.path("b.gltf"))
        self.assertEqual(samepicture.compare(self.original, self.path("b.gltf")), [])

    def testReorderedNodesUnderAnExtensionThatMayHoldIndices(self):
        a, b = makeScene(), makeScene()
        for scene in (a, b):
            scene.json["extensions"]["VEN_logic"] = {"start": {"node": 3}}
        renumbered(b)
        a.write(self.path("a.gltf"))
        b.write(self.path("b.gltf"))
        lines = samepicture.compare(self.path("a.gltf"), self.path("b.gltf"))
        self.assertEqual(lines, ["order of nodes differs, and VEN_logic may hold indices"])

    def testManyEqualMeshesNearlyInPlace(self):
        a, b = makeScene(), makeScene()
        for scene, shift in ((a, 0), (b, 1e-7)):
            for number in range(300):
                scene.json["nodes"].append({"mesh": 0, "translation": [number + shift, 1, 0]})
                scene.json["nodes"][ROOT]["children"].append(len(scene.json["nodes"]) - 1)
        a.write(self.path("a.gltf"))
        b.json["nodes"][ROOT]["children"].reverse()
        b.write(self.path("b.gltf"))
        self.assertEqual(samepicture.compare(self.path("a.gltf"), self.path("b.gltf"), inventory=False), [])
        b.json["nodes"][150]["translation"][1] = 2
        b.write(self.path("b.gltf"))
        self.assertEqual(len(samepicture.compare(self.path("a.gltf"), self.path("b.gltf"), inventory=False)), 2)

    def testManyEqualMeshesOfWhichSomeHaveNoPlace(self):
        a, b = makeScene(), makeScene()
        for scene, shift in ((a, 0), (b, 1e-7)):
            scene.json["nodes"][BONE]["translation"] = [shift, 4, 0]
            for number in range(20):
                node = {"mesh": 1, "skin": 0} if number % 2 else {"mesh": 1, "translation": [number + shift, 1, 0]}
                scene.json["nodes"].append(node)
                scene.json["nodes"][ROOT]["children"].append(len(scene.json["nodes"]) - 1)
        a.write(self.path("a.gltf"))
        b.write(self.path("b.gltf"))
        self.assertEqual(samepicture.compare(self.path("a.gltf"), self.path("b.gltf"), inventory=False), [])

    def testUnreadableFilesAreTrouble(self):
        for name, edit in [("an accessor past its view", put(("accessors", POSITION, "count"), 5)),
                           ("an index past the vertices", lambda b: b.change(INDICES, 0, 4)),
                           ("a loop", put(("nodes", LAMP, "children"), [ROOT])),
                           ("no such mesh", put(("nodes", BOX, "mesh"), 9)),
                           ("compressed vertices", put(("extensionsRequired",), ["KHR_draco_mesh_compression"]))]:
            with self.subTest(name):
                with self.assertRaises(GltfError):
                    self.edited(edit)

    def testExitStatusAndLimit(self):
        b = makeScene()
        for node in b.json["nodes"]:
            node["name"] += "x"
        b.write(self.path("b.gltf"))
        with open(self.path("broken.gltf"), "w") as file:
            file.write('{"asset": [], "nodes": [{"children": 3}]}')
        program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "samepicture.py")
        for arguments, status, lines in [((self.original, self.original), 0, 0),
                                         ((self.original, self.path("b.gltf"), "--limit", "5"), 1, 6),
                                         ((self.original, self.path("broken.gltf")), 2, 0),
                                         ((self.original, self.path("absent.gltf")), 2, 0)]:
            with self.subTest(arguments[1]):
                result = subprocess.run([sys.executable, program, *arguments], capture_output=True, text=True)
                self.assertEqual((result.returncode, len(result.stdout.splitlines())), (status, lines), result.stderr)


class RealScenes(unittest.TestCase):
    folder = None

    def testTheSameAsThemselves(self):
        for path in sorted(glob.glob(os.path.join(self.folder, "*", "*.gl*"))):
            with self.subTest(os.path.basename(path)):
                try:
                    self.assertEqual(samepicture.compare(path, path), [])
                except GltfError as error:
                    self.assertIn("cannot decode", str(error))


if __name__ == "__main__":
    if "--scenes" in sys.argv:
        RealScenes.folder = sys.argv[-1] if sys.argv[-1] != "--scenes" else assetsFolder("scenes")
        sys.argv[1:] = ["RealScenes"]
    else:
        sys.argv[1:] = sys.argv[1:] or ["SamePicture"]
    unittest.main()
