"""Help, version, and command lines that make no sense."""

import subprocess
import unittest

from clitest import KXOPT, CliTest

COMMANDS = ("run", "inspect", "convert", "list", "describe", "init")


class Arguments(CliTest):
    def testHelp(self):
        self.assertGolden("help.txt", self.kxopt("--help")[0])
        for command in COMMANDS:
            with self.subTest(command):
                self.assertGolden(f"help-{command}.txt", self.kxopt(command, "--help")[0])

    def testVersion(self):
        out, err = self.kxopt("--version")
        self.assertRegex(out, r"^kxopt \d+\.\d+\.\d+\n$")
        self.assertEqual(err, "")

    def testUnusableArguments(self):
        for arguments in ([], ["polish"], ["run"], ["run", "scene.gltf", "--polish"], ["run", "scene.gltf", "other.gltf"],
                          ["inspect", "scene.gltf", "--json", "--tree"], ["convert", "scene.gltf"], ["describe"]):
            with self.subTest(arguments):
                out, err = self.kxopt(*arguments, status=2)
                self.assertEqual(out, "")
                self.assertOneError(err, "--help")

    def testOutputThatCannotBeWrittenIsAFailure(self):
        with open("/dev/full", "wb") as full:
            result = subprocess.run([KXOPT, "list"], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, 1)
        self.assertOneError(result.stderr.decode(), "standard output")


if __name__ == "__main__":
    unittest.main()
