"""The example host of examples/host."""

import os
import subprocess
import unittest

from clitest import PLUGINS, CliTest, script

HOST = os.environ["KXOPT_HOST"]


class Host(CliTest):
    def host(self, *arguments):
        result = subprocess.run([HOST, *arguments], cwd=self.folder, env=self.environment(KXOPT_PLUGINS=PLUGINS),
                                capture_output=True, timeout=120)
        return result.returncode, result.stdout.decode(), result.stderr.decode()

    def testOutcomes(self):
        self.write("Veltrin.ini", script("kxCliSpeaks", "kxCliFails", "kxRepairHierarchy"))
        status, out, err = self.host("scene.gltf", "Veltrin.ini", "out.glb")
        self.assertEqual((status, out, err), (0, "step 1 of 3, kxCliSpeaks: done\n  words said: 3\n"
                                                 "step 2 of 3, kxCliFails: failed\n"
                                                 "step 3 of 3, kxRepairHierarchy: done\ncompleted\n", ""))
        self.kxopt("inspect", "out.glb")

    def testCancelledByTheHost(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", "kxRepairHierarchy"))
        status, out, _ = self.host("scene.gltf", "Veltrin.ini", "out.glb", "1")
        self.assertEqual((status, out), (1, "step 1 of 2, kxRepairHierarchy: done\ncancelled or refused\n"))
        self.assertFalse(self.exists("out.glb"))


if __name__ == "__main__":
    unittest.main()
