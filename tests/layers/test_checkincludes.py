"""Small trees with one line each: what has to be found is found, what is allowed passes."""

import os
import tempfile
import unittest

import checkincludes

CASES = [
    ("platform/sg/kxNode.h", '#include "platform/attrs/kxAttr.h"', None),
    ("platform/core/kxObject.cpp", '#include "platform/core/kxObject.h"', None),
    ("platform/core/kxObject.cpp", '#include "platform/sg/kxNode.h"', "platform/core must not see platform/sg"),
    ("platform/sg/kxNode.h", '#  include "opt/framework/kxOptBase.h"', "platform/sg must not see opt"),
    ("opt/image/kxResize.cpp", '#include "opt/framework/kxOptBase.h"', None),
    ("opt/image/kxResize.cpp", '#include "interop/images/kxPng.h"', "opt must not see interop/images"),
    ("opt/image/kxResize.cpp", "#include <spng.h>", "opt must not see spng"),
    ("interop/gltf/kxImport.cpp", "#include <rapidjson/document.h>", None),
    ("interop/gltf/kxImport.cpp", '#include "interop/images/kxPng.h"', None),
    ("interop/gltf/kxImport.cpp", '#include "opt/libKXOpt.h"', "interop/gltf must not see opt"),
    ("platform/core/kxFile.cpp", "#include <sys/mman.h>", None),
    ("platform/core/kxFile.cpp", "#include <zlib.h>", "platform/core must not see zlib"),
    ("platform/core/kxFile.cpp", "#include <boost/any.hpp>", "does not name"),
    ("platform/core/kxFile.cpp", '#include "kxFile.h"', "not written from the root"),
    ("tools/kxopt/main.cpp", '#include "tests/support/kxScene.h"', "no folder of the product"),
    ("tools/kxopt/main.cpp", "#include <CLI/CLI.hpp>", None),
    ("tests/core/kxObjectTest.cpp", '#include "opt/libKXOpt.h"', None),
    ("tests/core/kxObjectTest.cpp", 'load("/ho' + 'me/jo/a.glb");', "a place on one machine"),
    ("platform/core/kxFile.cpp", 'split("scene/root/child", "/a/b");', None),
    ("bench/kxAll.cpp", "// TO" + "DO: later", "work put off"),
]


class CheckIncludes(unittest.TestCase):
    def testCases(self):
        for path, line, expected in CASES:
            with self.subTest(f"{path}: {line}"), tempfile.TemporaryDirectory() as root:
                os.makedirs(os.path.join(root, os.path.dirname(path)))
                with open(os.path.join(root, path), "w") as file:
                    file.write("#pragma once\n" + line + "\n")
                found = list(checkincludes.faults(root))
                if expected is None:
                    self.assertEqual(found, [])
                else:
                    self.assertEqual(len(found), 1)
                    self.assertTrue(found[0].startswith(f"{path}:2: "), found)
                    self.assertIn(expected, found[0])


if __name__ == "__main__":
    unittest.main()
