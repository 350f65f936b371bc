"""What `kxopt inspect` counts and how it shows it."""

import json
import unittest

from clitest import CliTest, gltfScene


class Inspect(CliTest):
    def testTable(self):
        out, err = self.kxopt("inspect", "scene.gltf")
        self.assertGolden("inspect.txt", out)
        self.assertEqual(err, "")

    def testJson(self):
        out, _ = self.kxopt("inspect", "scene.gltf", "--json")
        self.assertGolden("inspect.json", out)
        found = json.loads(out)
        self.assertEqual(found["geometry"], {"count": 2, "drawn": 4, "triangles": 2, "trianglesDrawn": 4,
                                             "vertices": 3, "bytes": 36})
        # Two materials of the same values; what they are called and which textures they come with does not count.
        self.assertEqual(found["materials"], {"count": 2, "distinct": 1})
        self.assertEqual([(image["name"], image["embedded"], image["file"]) for image in found["images"]["list"]],
                         [("Plaster", True, None), ("Lamp", False, "lamp.png")])

    def testTree(self):
        self.assertGolden("inspect-tree.txt", self.kxopt("inspect", "scene.gltf", "--tree")[0])

    def testNamesCannotMoveTheCursor(self):
        scene = gltfScene()
        scene["images"][0]["name"] = "Plas\u001b[2Jter\nkxopt: \u00e9"
        self.write("scene.gltf", json.dumps(scene))
        out, _ = self.kxopt("inspect", "scene.gltf")
        self.assertIn("Plas?[2Jter?kxopt: \u00e9", out)
        out, _ = self.kxopt("inspect", "scene.gltf", "--json")
        self.assertEqual(json.loads(out)["images"]["list"][0]["name"], scene["images"][0]["name"])

    def testUnreadableInput(self):
        self.write("empty.glb", b"")
        self.write("words.glb", b"no scene at all, whatever its name says")
        self.write("folder.glb/file", b"")
        for name in ("missing.glb", "empty.glb", "words.glb", "folder.glb"):
            with self.subTest(name):
                out, err = self.kxopt("inspect", name, status=2)
                self.assertEqual(out, "")
                self.assertOneError(err, name)

    def testRefusedInputIsOneLine(self):
        # One accessor is worth a warning, the other refuses the file.
        scene = gltfScene()
        scene["extensionsRequired"] = scene["extensionsUsed"] = ["KHR_draco_mesh_compression"]
        scene["materials"][0]["alphaMode"] = "SOMETIMES"
        self.write("scene.gltf", json.dumps(scene))
        self.assertOneError(self.kxopt("inspect", "scene.gltf", status=2)[1], "scene.gltf", "KHR_draco_mesh_compression")


if __name__ == "__main__":
    unittest.main()
