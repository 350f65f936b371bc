"""scripts/shrink: a scene with a fault becomes a small scene with the same fault."""

import os
import subprocess
import sys
import unittest

from clitest import KXOPT, PLUGINS, ROOT, CliTest, script


class Shrink(CliTest):
    def shrink(self, *arguments, status=0):
        build = os.path.dirname(os.path.dirname(os.path.dirname(KXOPT)))
        done = subprocess.run([sys.executable, os.path.join(ROOT, "scripts", "shrink"), *arguments, "--build", build],
                              cwd=self.folder, env=self.environment(KXOPT_PLUGINS=PLUGINS), capture_output=True, text=True,
                              timeout=250)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout, done.stderr

    def testOnlyWhatTheFaultNeedsIsLeft(self):
        self.write("step.ini", script(("kxCliDislikes", {"nodeName": "House 2"})))
        os.makedirs(self.path("a folder"))
        for name in ("scene.gltf", "lamp.png"):
            os.rename(self.path(name), self.path("a folder/" + name))
        out, _ = self.shrink("a folder/scene.gltf", "-s", "step.ini", "-o", "small.kxb")
        self.assertRegex(out, r"kxopt run small\.kxb -s step\.ini")
        self.assertIn("kxCliDislikes: failed", self.kxopt("run", "small.kxb", "-s", "step.ini", plugins=True, status=1)[1])
        tree = self.kxopt("inspect", "small.kxb", "--tree")[0]
        self.assertIn("House 2", tree)
        for gone in ("Row", "House 1", "Eye", "Wall", "Plaster", "Lamp"):
            self.assertNotIn(gone, tree)

    def testFaultOtherThanTheOneSoughtDoesNotCount(self):
        self.write("step.ini", script("kxCliFails"))
        _, err = self.shrink("scene.gltf", "-s", "step.ini", "--says", "another fault", status=1)
        self.assertIn("shows no fault", err)
        _, err = self.shrink("scene.gltf", "-s", "step.ini", "-o", "missing/small.kxb", status=1)
        self.assertIn("missing", err)
        self.assertFalse(self.exists("small.kxb"))

    def testTextCanMarkTheFaultOfARunThatEndsWell(self):
        self.write("step.ini", script(("kxRemoveAttrs", {"attributeType": "kxMaterialAttr"})))
        self.shrink("scene.gltf", "-s", "step.ini", "--says", "attributes removed")
        self.assertIn("Material", self.kxopt("inspect", "small.kxb", "--tree")[0])


if __name__ == "__main__":
    unittest.main()
