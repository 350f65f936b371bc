"""Images that steps change: what is written, what the reports say of their bytes, and what counts as the same picture."""

import json
import random
import struct
import unittest
import zlib

from clitest import CliTest, gltfScene, script


def pngOf(width, height, depth, colors, *pieces, interlaced=0):
    """A PNG of compressed pixels in one piece or more."""
    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, colors, 0, 0, interlaced)) +
            b"".join(chunk(b"IDAT", piece) for piece in pieces) + chunk(b"IEND", b""))


def png(width, height, pixel):
    """A PNG of RGB pixels: `pixel(x, y)` gives three bytes."""
    rows = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))
    return pngOf(width, height, 8, 2, zlib.compress(rows))


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

    def testEqualImagesAreWrittenOnce(self):
        self.write("in/lamp.png", self.read("in/plaster.png"))
        self.write("share.ini", script("kxShareImages", ("kxShareAttrs", {"attributeType": "kxTextureBindAttr"})))
        self.write("out/scene.gltf", "")
        report = self.run_script("share.ini", "out/scene.gltf", "--verify-each")
        self.assertEqual(report["steps"][0]["counters"], {"images shared": 1, "textures shared": 1})
        self.assertEqual(report["steps"][1]["counters"], {"attributes shared": 1})
        scene = json.loads(self.read("out/scene.gltf"))
        self.assertEqual((len(scene["textures"]), scene["images"]), (1, [{"uri": "plaster.png", "mimeType": "image/png"}]))
        self.assertFalse(self.exists("out/lamp.png"))
        self.assertEqual(report["after"]["imageBytes"] * 2, report["before"]["imageBytes"])

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

    def testChecksumOfThePixels(self):
        # Rows of every filter, in the smallest and the largest pixels; the bytes of a row may be any.
        random.seed(1)
        # The decoder sees some of them itself.
        wrongSum = "the checksum of the pixels is wrong|IDAT stream error"
        for depth, colors, rowBytes, interlaced in ((1, 0, 1, 0), (4, 0, 3, 0), (8, 0, 5, 0), (8, 2, 15, 0), (8, 4, 10, 0),
                                                    (8, 6, 20, 0), (16, 0, 10, 0), (16, 2, 30, 0), (16, 6, 40, 0),
                                                    (8, 0, 5, 1)):
            # How wide the rows of the passes over 5 x 5 pixels are.
            widths = [1, 1, 2, 1, 1, 3, 2, 2, 2, 5, 5] if interlaced else [rowBytes] * 5
            rows = b"".join(bytes([y % 5]) + random.randbytes(width) for y, width in enumerate(widths))
            stream = zlib.compress(rows)
            wrong = stream[:-1] + bytes([stream[-1] ^ 1])
            for pieces, fault in (((stream,), None), ((stream[:-2], b"", stream[-2:]), None), ((stream, b"more"), None),
                                  ((wrong,), wrongSum), ((stream[:-2],), wrongSum)):
                with self.subTest(depth=depth, colors=colors, interlaced=interlaced, pieces=pieces):
                    image = pngOf(5, 5, depth, colors, *pieces, interlaced=interlaced)
                    self.write("in/lamp.png", image)
                    _, errors = self.kxopt("run", "in/scene.gltf", "-s", "half.ini", "-o", "out.glb")
                    if fault:
                        self.assertRegex(errors, "^kxopt: image lamp.png: PNG: (%s)\n$" % fault)
                    else:
                        self.assertEqual(errors, "")
                    self.assertEqual(image in self.read("out.glb"), bool(fault))


if __name__ == "__main__":
    unittest.main()
