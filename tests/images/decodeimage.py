#!/usr/bin/env python3
"""Prints the RGBA bytes of image files: a second decoder for the tests.

    decodeimage.py FILE

PNG files are decoded here, with nothing but zlib; other kinds by Pillow where it is installed. Standard output gets the
width and height as two little-endian 32-bit numbers, then the pixels. Exit status: 0 done, 2 the file is broken, 77 Pillow
is missing.
"""

import struct
import sys
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
PASSES = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))


def chunks(data):
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("no PNG")
    at = 8
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        (crc,) = struct.unpack(">I", data[at + 8 + size:at + 12 + size])
        if kind[0] & 32 == 0 and crc != zlib.crc32(kind + body):
            raise ValueError("checksum")
        yield kind, body
        at += size + 12


def unfilter(raw, at, rows, stride, step):
    above = bytearray(stride)
    for _ in range(rows):
        kind, row = raw[at], bytearray(raw[at + 1:at + 1 + stride])
        if len(row) != stride or kind > 4:
            raise ValueError("rows")
        at += stride + 1
        for i in range(stride):
            a = row[i - step] if i >= step else 0
            b = above[i]
            c = above[i - step] if i >= step else 0
            if kind == 1:
                guess = a
            elif kind == 2:
                guess = b
            elif kind == 3:
                guess = (a + b) // 2
            elif kind == 4:
                p = a + b - c
                guess = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
            else:
                guess = 0
            row[i] = (row[i] + guess) & 255
        above = row
        yield row


def decodePng(data):
    found = {}
    stream = b""
    for kind, body in chunks(data):
        if kind == b"IDAT":
            stream += body
        else:
            found.setdefault(kind, body)
    width, height, depth, color, _, _, interlaced = struct.unpack(">IIBBBBB", found[b"IHDR"])
    channels = CHANNELS[color]
    raw = zlib.decompress(stream)
    trns = found.get(b"tRNS")
    palette = found.get(b"PLTE", b"")
    key = struct.unpack(">" + "H" * channels, trns[:2 * channels]) if trns and color in (0, 2) else None
    largest = (1 << depth) - 1
    pixels = bytearray(width * height * 4)

    def to8(value):
        return (value * 255 + largest // 2) // largest

    at = 0
    for x0, y0, dx, dy in PASSES if interlaced else ((0, 0, 1, 1),):
        columns, rows = (width - x0 + dx - 1) // dx, (height - y0 + dy - 1) // dy
        if columns <= 0 or rows <= 0:
            continue
        stride = (columns * channels * depth + 7) // 8
        for y, row in enumerate(unfilter(raw, at, rows, stride, max(1, channels * depth // 8))):
            for x in range(columns):
                values = []
                for c in range(channels):
                    bit = (x * channels + c) * depth
                    if depth == 16:
                        values.append(row[bit // 8] << 8 | row[bit // 8 + 1])
                    else:
                        values.append(row[bit // 8] >> (8 - depth - bit % 8) & largest)
                if color == 3:
                    i = values[0]
                    rgba = [*palette[3 * i:3 * i + 3], trns[i] if trns and i < len(trns) else 255]
                elif color in (0, 4):
                    alpha = to8(values[1]) if color == 4 else 0 if key == tuple(values) else 255
                    rgba = [to8(values[0])] * 3 + [alpha]
                else:
                    alpha = to8(values[3]) if color == 6 else 0 if key == tuple(values) else 255
                    rgba = [to8(v) for v in values[:3]] + [alpha]
                place = ((y0 + y * dy) * width + x0 + x * dx) * 4
                pixels[place:place + 4] = bytes(rgba)
        at += rows * (stride + 1)
    return width, height, bytes(pixels)


def main():
    path = sys.argv[1]
    with open(path, "rb") as file:
        data = file.read()
    try:
        if data[:4] == b"\x89PNG":
            width, height, pixels = decodePng(data)
        else:
            try:
                from PIL import Image
            except ImportError:
                return 77
            with Image.open(path) as image:
                pixels = image.convert("RGBA").tobytes()
                width, height = image.size
    except (ValueError, IndexError, KeyError, OSError, struct.error, zlib.error) as fault:
        print(f"{path}: {fault}", file=sys.stderr)
        return 2
    sys.stdout.buffer.write(struct.pack("<II", width, height) + pixels)
    return 0


if __name__ == "__main__":
    sys.exit(main())
