"""`kxopt list`, `describe` and `init`: what they tell about the optimizations, those of a plug-in included."""

import json
import re
import unittest

from clitest import CliTest, script


class Classes(CliTest):
    def names(self, **options):
        return [entry["name"] for entry in json.loads(self.kxopt("list", "--json", **options)[0])]

    def testList(self):
        names = self.names()
        self.assertIn("kxRepairHierarchy", names)
        self.assertNotIn("kxOptTraverseGraph", names)  # a base that no script can name
        self.assertEqual(names, sorted(set(names)))
        lines = self.kxopt("list")[0].splitlines()
        self.assertEqual([line.split()[0] for line in lines], names)
        for line in lines:
            self.assertRegex(line, r"^\w+ +\S.*\S$")

    def testPlugInsAreListed(self):
        added = set(self.names(plugins=True)) - set(self.names())
        self.assertEqual(added, {"kxCliDislikes", "kxCliFails", "kxCliRefuses", "kxCliCrashes", "kxCliWaits", "kxCliSpeaks"})

    def testDescribe(self):
        self.assertGolden("describe.txt", self.kxopt("describe", "kxCliSpeaks", plugins=True)[0])
        self.assertGolden("describe.json", self.kxopt("describe", "kxCliSpeaks", "--json", plugins=True)[0])
        self.assertGolden("describe-nothing.txt", self.kxopt("describe", "kxCliFails", plugins=True)[0])

    def testEveryClassIsDescribed(self):
        for name in self.names():
            with self.subTest(name):
                found = json.loads(self.kxopt("describe", name, "--json")[0])
                self.assertEqual(found["name"], name)
                for parameter in found["parameters"]:
                    self.assertTrue(parameter["help"], parameter)
                    self.assertFalse(parameter["name"].startswith("_"), parameter)

    def testNumbersOfAllSizesAreListed(self):
        found = json.loads(self.kxopt("describe", "kxOptimizeActorAnimations", "--json")[0])
        self.assertIn(("timeTolerance", "integer", 100000),
                      [(p["name"], p["type"], p["default"]) for p in found["parameters"]])

    def testUnknownClass(self):
        for name, nearest in (("kxRepairHierachy", "did you mean kxRepairHierarchy?"),
                              ("repairhierarchy", "did you mean kxRepairHierarchy?"),
                              ("kxOptBase", ""), ("Zebra", "kxopt list")):
            with self.subTest(name):
                out, err = self.kxopt("describe", name, status=2)
                self.assertEqual(out, "")
                self.assertOneError(err, name, nearest)


class Init(CliTest):
    def testStarterScriptRunsAsItIs(self):
        self.kxopt("init", "start.ini")
        out, err = self.kxopt("run", "scene.gltf", "-s", "start.ini", "-o", "out.glb")
        self.assertIn("kxRepairHierarchy", out)
        self.assertEqual(err, "")

    def testEveryOptimizationHasASection(self):
        self.kxopt("init", "start.ini")
        sections = re.findall(r"^;?\[OPTIMIZATION(\d+)\]\n;?name = (\w+)$", self.read("start.ini").decode(), re.MULTILINE)
        listed = [entry["name"] for entry in json.loads(self.kxopt("list", "--json")[0])]
        self.assertEqual(sorted(name for _, name in sections), listed)
        self.assertEqual([int(number) for number, _ in sections], list(range(1, len(listed) + 1)))

    def testEveryKeyIsReadAndEveryDefaultParses(self):
        self.kxopt("init", "start.ini")
        self.write("start.ini", re.sub("^;(?! )", "", self.read("start.ini").decode(), flags=re.MULTILINE))
        # Whether the defaults of an optimization are enough for it is its own affair.
        _, err = self.kxopt("run", "scene.gltf", "-s", "start.ini", status=(0, 1))
        self.assertNotRegex(err, r"start\.ini:\d+")

    def testDefaultsOfEnumerationsAreTaken(self):
        # One that reads its formats itself, by their names alone.
        self.kxopt("init", "start.ini")
        section = re.search(r"^;name = kxConvertImage\n(?:;.*\n)*", self.read("start.ini").decode(), re.MULTILINE).group()
        keys = dict(re.findall(r"^;(format|order) = (.*)$", section, re.MULTILINE))
        self.assertEqual(keys, {"format": "rgba_5551_16", "order": "DEFAULT"})
        self.write("taken.ini", script(("kxConvertImage", keys), ("kxConvertImage", {"_format": 8, "_order": 100})))
        out, err = self.kxopt("run", "scene.gltf", "-s", "taken.ini", "-o", "out.glb")
        self.assertEqual(err, "")
        self.assertNotIn("not configured", out)

    def testSwitchedOnSectionGivesTheDefaults(self):
        self.kxopt("init", "start.ini", plugins=True)
        text = self.read("start.ini").decode()
        section = re.search(r"^;\[OPTIMIZATION\d+\]\n;name = kxCliSpeaks\n(?:;.*\n)*", text, re.MULTILINE).group()
        self.write("start.ini", text.replace(section, re.sub("^;(?! )", "", section, flags=re.MULTILINE)))
        _, err = self.kxopt("run", "scene.gltf", "-s", "start.ini", "--report", "r.json", "--quiet", plugins=True)
        self.assertEqual(err, "")
        described = json.loads(self.kxopt("describe", "kxCliSpeaks", "--json", plugins=True)[0])
        step = next(s for s in json.loads(self.read("r.json"))["steps"] if s["name"] == "kxCliSpeaks")
        self.assertEqual(step["settings"], {p["name"]: p["default"] for p in described["parameters"]})

    def testNeverOverwrites(self):
        before = self.read("Veltrin.ini")
        self.assertOneError(self.kxopt("init", status=2)[1], "Veltrin.ini")
        self.assertEqual(self.read("Veltrin.ini"), before)
        self.assertOneError(self.kxopt("init", "missing/start.ini", status=2)[1], "missing/start.ini")


if __name__ == "__main__":
    unittest.main()
