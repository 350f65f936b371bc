"""`kxopt run` when something goes wrong: exit status, what is said, and what stays untouched."""

import json
import os
import re
import shlex
import signal
import subprocess
import unittest

from clitest import KXOPT, PLUGINS, CliTest, script


class FailedSteps(CliTest):
    CASES = [
        (script("kxCliFails"), "kxCliFails: failed"),
        (script("kxCliRefuses"), "kxCliRefuses: not configured"),
        (script(("kxPromoteAttrs", {"attributeType": "kxNone"})), "kxPromoteAttrs: not configured; attributeType names no class"),
        (script("kxCliFials"), "kxCliFials: unknown"),
        (script("").replace("name = \n", ""), "[OPTIMIZATION1] no name"),
    ]

    def testFailedStepFailsTheRun(self):
        for text, expected in self.CASES:
            with self.subTest(expected):
                self.write("Veltrin.ini", text)
                self.write("out.glb", b"as it was")
                _, err = self.kxopt("run", "scene.gltf", "-o", "out.glb", "--report", "r.json", plugins=True, status=1)
                self.assertIn("kxopt: Veltrin.ini: [OPTIMIZATION1]", err)
                self.assertIn(expected, err)
                self.assertIn("kxopt: out.glb: not written, because 1 of 1 steps did not succeed", err)
                self.assertEqual(self.read("out.glb"), b"as it was")
                report = json.loads(self.read("r.json"))
                self.assertEqual((report["result"], report["output"]), ("failed", None))

    def testUnknownNameSuggestsTheNearest(self):
        self.write("Veltrin.ini", script("kxRepairHierachy"))
        self.assertIn("kxRepairHierarchy", self.kxopt("run", "scene.gltf", status=1)[1])

    def testKeepGoing(self):
        self.write("Veltrin.ini", script("kxCliFails", "kxRepairHierarchy"))
        out, _ = self.kxopt("run", "scene.gltf", "-o", "out.glb", "--keep-going", plugins=True, status=1)
        self.assertIn("\t\tfailed\n", out)
        self.kxopt("inspect", "out.glb")

    def testScriptThatCannotBeRun(self):
        for text, expected in (("[OPTIMISE]\n", "has no section [OPTIMIZE]"),
                               ("[OPTIMIZE]\n", "has no optimizationCount in [OPTIMIZE]"),
                               ("[OPTIMIZE]\noptimizationCount = -1\n", "optimizationCount = -1 is not"),
                               ("[OPTIMIZE]\noptimizationCount = two\n", "optimizationCount = two is not")):
            with self.subTest(expected):
                self.write("Veltrin.ini", text)
                _, err = self.kxopt("run", "scene.gltf", "-o", "out.glb", "--quiet", status=1)
                self.assertIn("kxopt: Veltrin.ini: " + expected, err)
                self.assertFalse(self.exists("out.glb"))


class UnusableFiles(CliTest):
    def testFoundOutBeforeTheRun(self):
        self.write("folder.json/file", b"")
        for arguments in (["missing.glb"], ["scene.gltf", "-s", "missing.ini"], ["scene.gltf", "-s", "folder.json"],
                          ["scene.gltf", "-o", "out.obj"], ["scene.gltf", "-o", "missing/out.glb"],
                          ["scene.gltf", "--report", "folder.json"], ["scene.gltf", "--dump", "lamp.png"]):
            with self.subTest(arguments):
                out, err = self.kxopt("run", *arguments, status=2)
                self.assertEqual(out, "")
                self.assertOneError(err, arguments[-1])

    def testNoScript(self):
        os.remove(self.path("Veltrin.ini"))
        self.assertOneError(self.kxopt("run", "scene.gltf", status=2)[1], "Veltrin.ini", "kxopt init")


class Dump(CliTest):
    def command(self, err):
        """The command that standard error gives for seeing a fault again."""
        words = shlex.split(re.search(r"to see it again: kxopt (.*)$", err, re.MULTILINE).group(1))
        environment = self.environment(KXOPT_PLUGINS=PLUGINS)
        return subprocess.run([KXOPT, *words], cwd=self.folder, env=environment, capture_output=True, timeout=120)

    def testFailedStepCanBeSeenAgain(self):
        self.write("Veltrin.ini", script(("kxCliSpeaks", {"loud": "true"}), "kxCliFails", "kxRepairHierarchy"))
        _, err = self.kxopt("run", "scene.gltf", "--dump", "a folder", plugins=True, status=1)
        self.assertEqual(sorted(os.listdir(self.path("a folder"))), ["step2-kxCliFails.ini", "step2-kxCliFails.kxb"])
        # The scene is the one before the step.
        self.assertNotIn("changed by", self.kxopt("inspect", "a folder/step2-kxCliFails.kxb", "--tree")[0])
        again = self.command(err)
        self.assertEqual(again.returncode, 1)
        self.assertIn(b"kxCliFails: failed", again.stderr)

    def testCrashCanBeSeenAgain(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", "kxCliCrashes"))
        _, err = self.kxopt("run", "scene.gltf", "--dump", "dump", "-o", "out.glb", plugins=True, status=-signal.SIGABRT)
        self.assertIn("kxopt: kxCliCrashes crashed", err)
        self.assertFalse(self.exists("out.glb"))
        self.assertEqual(self.command(err).returncode, -signal.SIGABRT)

    def testNothingIsLeftOrChangedWhenAllGoesWell(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", "kxCliSpeaks"))
        self.kxopt("run", "scene.gltf", "-o", "plain.glb", plugins=True)
        self.kxopt("run", "scene.gltf", "-o", "dumped.glb", "--dump", "dump", plugins=True)
        self.assertEqual(os.listdir(self.path("dump")), [])
        self.assertEqual(self.read("plain.glb"), self.read("dumped.glb"))


if __name__ == "__main__":
    unittest.main()
