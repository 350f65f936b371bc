"""`kxopt run` when all goes well: reports, results, and what it says on which stream."""

import json
import os
import unittest

from clitest import CliTest, gltfScene, script

SPEAKS = ("kxCliSpeaks", {"loud": "yes", "_offset": "0x10", "maxCount": 7, "share": "0.25", "word": "one two",
                          "colour": 1, "type": "kxTransform"})


class Run(CliTest):
    def testNodesOutsideOfTheScenesKeepWhatTheyShare(self):
        scene = gltfScene()
        scene["nodes"].append({"name": "Spare house", "mesh": 0})
        # With a rig, which is seen as well and has no graph of its own.
        scene["skins"] = [{"joints": [1, 2]}]
        self.write("scene.gltf", json.dumps(scene))
        self.write("Veltrin.ini", script("kxRepairHierarchy", ("kxPromoteAttrs", {"attributeType": "kxMaterialAttr"})))
        out, err = self.kxopt("run", "scene.gltf", "-o", "out.gltf", "--verify-each")
        self.assertNotIn("isn't in the graph", out + err)
        spare = [node for node in json.loads(self.read("out.gltf"))["nodes"] if node.get("name") == "Spare house"]
        self.assertEqual(len(spare), 1)
        self.assertIn("mesh", spare[0])

    def testReport(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", SPEAKS))
        out, err = self.kxopt("run", "scene.gltf", plugins=True)
        self.assertGolden("run.txt", out)
        self.assertEqual(err, "kxopt: scene.gltf: the result is not written (-o names a file for it)\n")
        self.assertEqual(sorted(os.listdir(self.folder)), ["Veltrin.ini", "lamp.png", "scene.gltf"])

    def testJsonReport(self):
        self.write("other.ini", script(SPEAKS, "kxRepairHierarchy"))
        self.kxopt("run", "scene.gltf", "-s", "other.ini", "-o", "out.kxb", "--report", "report.json", plugins=True)
        report = json.loads(self.read("report.json"))
        # The size of the result is no matter of the command.
        self.assertEqual(report["output"]["bytes"], len(self.read("out.kxb")))
        self.assertGolden("report.json", self.read("report.json").decode().replace(
            f'"bytes": {report["output"]["bytes"]}\n', '"bytes": 0\n'))

    def testSameBytesTwice(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", SPEAKS, stats="true"))
        results = []
        for name in ("a", "b"):
            out, err = self.kxopt("run", "scene.gltf", "-o", "out.glb", "--report", "report.json", plugins=True)
            results.append((out, err, self.read("out.glb"), self.read("report.json")))
        self.assertEqual(*results)

    def testInputAsOutput(self):
        self.kxopt("convert", "scene.gltf", "scene.glb")
        self.kxopt("run", "scene.glb", "-o", "fresh.glb")
        self.kxopt("run", "scene.glb", "-o", "scene.glb")
        self.assertEqual(self.read("scene.glb"), self.read("fresh.glb"))

    def testNoWriteIsSaid(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", noWrite="true"))
        _, err = self.kxopt("run", "scene.gltf", "-o", "out.glb", "--report", "report.json")
        self.assertOneError(err, "warning: out.glb", "noWrite")
        self.assertFalse(self.exists("out.glb"))
        self.assertIsNone(json.loads(self.read("report.json"))["output"])

    def testQuiet(self):
        self.assertEqual(self.kxopt("run", "scene.gltf", "--quiet"), ("", ""))
        self.write("Veltrin.ini", script(("kxRepairHierarchy", {"disableRepare": "true"})))
        out, err = self.kxopt("run", "scene.gltf", "--quiet")
        self.assertEqual(out, "")
        self.assertOneError(err, "warning: Veltrin.ini:5:", "disableRepare", "disableRepair")

    def testSilentScript(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", verbose="false"))
        out, _ = self.kxopt("run", "scene.gltf", "-o", "out.glb")
        self.assertEqual(out, "")
        self.assertTrue(self.exists("out.glb"))

    def testExampleScene(self):
        examples = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), "examples")
        _, err = self.kxopt("run", os.path.join(examples, "veltrin.glb"), "-s", os.path.join(examples, "Veltrin.ini"),
                            "-o", "out.glb")
        self.assertEqual(err, "")


if __name__ == "__main__":
    unittest.main()
