"""The examples of README.md: every ```console block is a command and what it prints."""

import os
import re
import shlex
import subprocess
import unittest

from clitest import KXOPT, ROOT, CliTest

README = os.path.join(ROOT, "README.md")
BLOCK = re.compile(r"^```console\n\$ kxopt (.*)\n((?:(?!```).*\n)*)```$", re.MULTILINE)


class Readme(CliTest):
    def testExamplesPrintWhatTheReadmeShows(self):
        os.symlink(os.path.join(ROOT, "examples"), self.path("examples"))
        with open(README, encoding="utf-8") as file:
            text = file.read()

        def run(match):
            result = subprocess.run([KXOPT, *shlex.split(match.group(1))], cwd=self.folder, env=self.environment(),
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
            return f"```console\n$ kxopt {match.group(1)}\n{result.stdout.decode()}```"

        printed, count = BLOCK.subn(run, text)
        self.assertGreaterEqual(count, 3)
        if os.environ.get("KXOPT_ACCEPT") == "1":
            with open(README, "w", encoding="utf-8") as file:
                file.write(printed)
        else:
            self.assertMultiLineEqual(text, printed)


if __name__ == "__main__":
    unittest.main()
