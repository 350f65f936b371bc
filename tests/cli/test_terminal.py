"""The command at a terminal: progress, colour, Ctrl-C."""

import os
import pty
import select
import signal
import subprocess
import time
import unittest

from clitest import KXOPT, PLUGINS, CliTest, script


class Terminal(CliTest):
    def start(self, *arguments, **environment):
        """The command with standard error on a terminal of its own, standard output in a file."""
        self.terminal, end = pty.openpty()
        self.addCleanup(os.close, self.terminal)
        self.out = open(self.path("out.txt"), "wb")
        self.addCleanup(self.out.close)
        # Whoever runs the tests in the background may have switched Ctrl-C off.
        process = subprocess.Popen([KXOPT, *arguments], cwd=self.folder, stdin=subprocess.DEVNULL, stdout=self.out, stderr=end,
                                   env=self.environment(KXOPT_PLUGINS=PLUGINS, TERM="xterm", **environment),
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        os.close(end)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.shown = b""
        return process

    def readTerminal(self, until=None):
        """Reads up to a text, or to the end."""
        limit = time.monotonic() + 60
        while until is None or until not in self.shown:
            ready, _, _ = select.select([self.terminal], [], [], max(0, limit - time.monotonic()))
            self.assertTrue(ready, self.shown)
            try:
                data = os.read(self.terminal, 4096)
            except OSError:  # the other end has gone
                data = b""
            if not data:
                self.assertIsNone(until, self.shown)
                break
            self.shown += data

    def testColourAndItsSwitch(self):
        self.start("inspect", "missing.glb")
        self.readTerminal()
        self.assertIn(b"\033[1;31mkxopt: ", self.shown)
        self.start("inspect", "missing.glb", NO_COLOR="1")
        self.readTerminal()
        self.assertNotIn(b"\033", self.shown)

    def testProgressIsClearedAtTheEnd(self):
        self.write("Veltrin.ini", script("kxRepairHierarchy", "kxRepairHierarchy"))
        process = self.start("run", "scene.gltf", "-o", "out.glb")
        self.readTerminal()
        self.assertEqual(process.wait(), 0)
        self.assertIn(b"[############............] 2/2 kxRepairHierarchy", self.shown)
        self.assertTrue(self.shown.endswith(b"\r\033[K"), self.shown)

    def testQuietShowsNoProgress(self):
        self.start("run", "scene.gltf", "-o", "out.glb", "--quiet")
        self.readTerminal()
        self.assertEqual(self.shown, b"")

    def testCtrlCCancels(self):
        self.write("Veltrin.ini", script("kxCliWaits", "kxRepairHierarchy"))
        process = self.start("run", "scene.gltf", "-o", "out.glb")
        self.readTerminal(b"1/2 kxCliWaits: waiting")
        process.send_signal(signal.SIGINT)
        self.readTerminal()
        self.assertEqual(process.wait(), 1)
        self.assertIn(b"scene.gltf: the run was cancelled", self.shown)
        self.assertFalse(self.exists("out.glb"))
        report = self.read("out.txt").decode()
        self.assertIn("CANCEL", report)
        self.assertNotIn("kxRepairHierarchy", report)

    def testSecondCtrlCEndsTheProcess(self):
        self.write("Veltrin.ini", script(("kxCliWaits", {"stubborn": "true"})))
        process = self.start("run", "scene.gltf", "-o", "out.glb")
        self.readTerminal(b"waiting")
        process.send_signal(signal.SIGINT)
        self.readTerminal(b"Ctrl-C again")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(), -signal.SIGINT)
        self.assertFalse(self.exists("out.glb"))


if __name__ == "__main__":
    unittest.main()
