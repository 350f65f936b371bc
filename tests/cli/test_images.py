"""Images that steps change: what is written, what the reports say of their bytes, and what counts as the same picture."""

import json
import struct
import unittest
import zlib

from clitest import CliTest, gltfScene, script


def png(width, height, pixel):
    """A PNG of RGB pixels: `pixel(x, y)` gives three bytes."""
    rows = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Images(CliTest):
    def setUp(self):
        super().setUp()
        scene = gltfScene()
        for image, name in zip(scene["images"], ("plaster.png", "lamp.png")):
            image.clear()
            image["uri"] = name
        self.write("in/scene.gltf", json.dumps(scene))
        self.write("in/plaster.png", png(64, 64, lambda x, y: (4 * x, 4 * y, 90)))
        self.write("in/lamp.png", png(16, 16, lambda x, y: (200, 16 * x, 7)))
        self.write("dxt.ini", script(("kxConvertImage", {"format": "dxt1"})))
        self.write("half.ini", script("kxResizeImage"))

    def run_script(self, name, output, *options, status=0):
        self.kxopt("run", "in/scene.gltf", "-s", name, *(("-o", output) if output else ()), "--report", "report.json",
                   *options, status=status)
        return json.loads(self.read("report.json"))

    def bytes_on_disk(self, output):
        folder = output.rpartition("/")[0]
        return sum(len(self.read(f"{folder}/{image['uri']}")) for image in json.loads(self.read(output))["images"])

    def testImageBytesAreThoseOfTheFile(self):
        for name, options in (("dxt.ini", ()), ("dxt.ini", ("--no-fallback",)), ("half.ini", ())):
            with self.subTest(name, options=options):
                output = f"out{len(options)}{name}/scene.gltf"
                self.write(output, "")
                report = self.run_script(name, output, *options)
                self.assertEqual(report["before"]["imageBytes"], self.bytes_on_disk("in/scene.gltf"))
                self.assertEqual(report["after"]["imageBytes"], self.bytes_on_disk(output))
        # Without a result the images are counted as they would be written.
        report = self.run_script("half.ini", None)
        self.assertEqual(report["after"]["imageBytes"], self.bytes_on_disk("out0half.ini/scene.gltf"))
        self.assertIn("bytes of pixels saved", report["steps"][0]["counters"])

    def testFallbacks(self):
        self.run_script("dxt.ini", "with.glb")
        self.run_script("dxt.ini", "without.glb", "--no-fallback")
        for name, sources, required in (("with.glb", 2, []), ("without.glb", 0, ["MSFT_texture_dds"])):
            text = self.read(name)
            scene = json.loads(text[20:20 + struct.unpack_from("<I", text, 12)[0]])
            self.assertEqual(sum("source" in texture for texture in scene["textures"]), sources)
            self.assertEqual(scene.get("extensionsRequired", []), required)
        # Nothing was changed, so nothing is added on the way through a format that keeps everything.
        self.run_script("dxt.ini", "kept.kxb")
        self.kxopt("convert", "kept.kxb", "a.glb", "--no-fallback")
        self.assertEqual(self.read("a.glb"), self.read("without.glb"))

    def testImageTolerance(self):
        self.run_script("dxt.ini", "out.glb")
        out, _ = self.kxopt("compare", "in/scene.gltf", "out.glb", status=1)
        self.assertIn("baseColorTexture has another image\n", out)
        self.kxopt("compare", "in/scene.gltf", "out.glb", "--ignore-images")
        self.kxopt("compare", "in/scene.gltf", "out.glb", "--image-tolerance", "8")
        out, _ = self.kxopt("compare", "in/scene.gltf", "out.glb", "--image-tolerance", "0.01", status=1)
        self.assertRegex(out, r"baseColorTexture has another image \(difference [0-9.]+ of 255\)")
        for verify in ("--verify", "--verify-each"):
            self.run_script("dxt.ini", "verified.glb", verify, status=1)
            self.run_script("dxt.ini", "verified.glb", verify, "--image-tolerance", "8")
        self.assertEqual(self.read("verified.glb"), self.read("out.glb"))


if __name__ == "__main__":
    unittest.main()
