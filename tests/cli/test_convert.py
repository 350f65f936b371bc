"""`kxopt convert`: from format to format, and what it must not touch."""

import json
import os
import unittest

from clitest import CliTest, gltfScene


class Convert(CliTest):
    def inventory(self, name):
        found = json.loads(self.kxopt("inspect", name, "--json")[0])
        del found["file"]
        return found

    def testFormatsHoldTheSame(self):
        self.kxopt("convert", "scene.gltf", "scene.glb")
        self.kxopt("convert", "scene.glb", "scene.kxb")
        self.kxopt("convert", "scene.kxb", "again.glb")
        expected = self.inventory("scene.glb")
        self.assertEqual(self.inventory("scene.kxb"), expected)
        self.assertEqual(self.inventory("again.glb"), expected)
        self.assertEqual(self.read("again.glb"), self.read("scene.glb"))
        self.assertEqual(expected["nodes"], self.inventory("scene.gltf")["nodes"])

    def testVolumesOnlyWhenAskedFor(self):
        self.write("boxes.ini", b"[OPTIMIZE]\noptimizationCount = 1\n[OPTIMIZATION1]\nname = kxCreateBoundingBoxes\n")
        self.kxopt("run", "scene.gltf", "-s", "boxes.ini", "-o", "boxes.kxb")
        self.kxopt("convert", "boxes.kxb", "plain.gltf")
        self.kxopt("convert", "boxes.kxb", "boxes.gltf", "--write-volumes")
        self.assertNotIn(b"kxoptVolume", self.read("plain.gltf"))
        self.assertIn(b"kxoptVolume", self.read("boxes.gltf"))

    def testOntoItself(self):
        self.kxopt("convert", "scene.gltf", "scene.glb")
        before = self.read("scene.glb")
        self.kxopt("convert", "scene.glb", "scene.glb")
        self.assertEqual(self.read("scene.glb"), before)

    def testUnusableTarget(self):
        self.write("folder.glb/file", b"")
        for target in ("scene.obj", "scene", "missing/scene.glb", "folder.glb"):
            with self.subTest(target):
                self.assertOneError(self.kxopt("convert", "scene.gltf", target, status=2)[1], target)
        self.assertEqual(sorted(os.listdir(self.folder)), ["Veltrin.ini", "folder.glb", "lamp.png", "scene.gltf"])

    def testRefusedInputLeavesTheOutput(self):
        self.kxopt("convert", "scene.gltf", "scene.glb")
        self.write("cut.glb", self.read("scene.glb")[:-50])
        self.write("out.glb", b"as it was")
        self.assertOneError(self.kxopt("convert", "cut.glb", "out.glb", status=2)[1], "cut.glb")
        self.assertEqual(self.read("out.glb"), b"as it was")

    def testOutsideFilesOnlyWhenAllowed(self):
        scene = gltfScene()
        scene["images"][1]["uri"] = "../lamp.png"
        self.write("inner/scene.gltf", json.dumps(scene))
        for command in (("convert", "inner/scene.gltf", "out.glb"), ("run", "inner/scene.gltf", "-o", "out.glb"),
                        ("inspect", "inner/scene.gltf")):
            with self.subTest(command):
                if self.exists("out.glb"):
                    os.remove(self.path("out.glb"))
                self.assertOneError(self.kxopt(*command, status=2)[1], "inner/scene.gltf", "../lamp.png")
                self.assertFalse(self.exists("out.glb"))
                self.kxopt(*command, "--allow-outside")


if __name__ == "__main__":
    unittest.main()
