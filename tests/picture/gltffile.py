"""Reads glTF 2.0 files: the JSON, its buffers, accessors and images.

Shares nothing with the C++ readers, so that a fault in one of them is not a fault in both. Everything is read when it
is asked for; what cannot be read raises GltfError with a line that names the thing.
"""

import base64
import hashlib
import json
import os
import struct
import urllib.parse

import numpy as np

COMPONENT_TYPES = {5120: "<i1", 5121: "<u1", 5122: "<i2", 5123: "<u2", 5125: "<u4", 5126: "<f4"}
# Columns and rows: a column of a matrix begins at a multiple of four bytes.
ELEMENT_SHAPES = {"SCALAR": (1, 1), "VEC2": (1, 2), "VEC3": (1, 3), "VEC4": (1, 4),
                  "MAT2": (2, 2), "MAT3": (3, 3), "MAT4": (4, 4)}
NORMALIZED_RANGE = {5120: 127.0, 5121: 255.0, 5122: 32767.0, 5123: 65535.0, 5125: 4294967295.0}

# Without these extensions the buffers of a file that requires them hold nothing that this reader could compare.
COMPRESSIONS = ("KHR_draco_mesh_compression", "EXT_meshopt_compression")


class GltfError(Exception):
    pass


class GltfFile:
    def __init__(self, path):
        self.path = path
        self._buffers = {}
        self._arrays = {}
        self._imageSums = {}
        try:
            with open(path, "rb") as file:
                data = file.read()
        except OSError as error:
            raise GltfError(f"{path}: {error.strerror}") from None
        text, self._binary = _splitBinary(path, data) if data[:4] == b"glTF" else (data, None)
        try:
            self.json = json.loads(text.decode("utf-8-sig"), parse_float=_number)
        except (UnicodeDecodeError, ValueError) as error:
            raise GltfError(f"{path}: not JSON: {error}") from None
        if not isinstance(self.json, dict):
            raise GltfError(f"{path}: the JSON is no object")

    def items(self, kind):
        """The top-level array of a kind ("nodes", "meshes"), empty when there is none."""
        return self.json.get(kind) or []

    def item(self, kind, index):
        items = self.items(kind)
        if not isinstance(index, int) or not 0 <= index < len(items):
            raise GltfError(f"{self.path}: {kind} {index} does not exist")
        return items[index]

    def extension(self, name):
        return self.json.get("extensions", {}).get(name, {})

    def compression(self):
        """The required extension that hides the vertex data, or None."""
        return next((name for name in self.json.get("extensionsRequired", []) if name in COMPRESSIONS), None)

    def buffer(self, index):
        if index not in self._buffers:
            buffer = self.item("buffers", index)
            if "uri" in buffer:
                data = self._readUri(buffer["uri"])
            elif index == 0 and self._binary is not None:
                data = self._binary
            else:
                data = bytes(buffer["byteLength"])  # allowed: the application brings the data
            self._buffers[index] = data[: buffer["byteLength"]]
        return self._buffers[index]

    def bufferView(self, index):
        view = self.item("bufferViews", index)
        data = self.buffer(view["buffer"])
        begin = view.get("byteOffset", 0)
        end = begin + view["byteLength"]
        if end > len(data):
            raise GltfError(f"{self.path}: buffer view {index} ends {end - len(data)} bytes past its buffer")
        return data[begin:end]

    def rawValues(self, index):
        """The elements as stored, sparse ones put in their places: an array of (count, components)."""
        if index not in self._arrays:
            accessor = self.item("accessors", index)
            dtype = np.dtype(COMPONENT_TYPES[accessor["componentType"]])
            shape = ELEMENT_SHAPES[accessor["type"]]
            count = accessor["count"]
            what = f"accessor {index}"

            def read(part, dtype, shape, count):
                return self._readElements(what, part["bufferView"], part.get("byteOffset", 0), dtype, shape, count)

            if "bufferView" in accessor:
                values = read(accessor, dtype, shape, count)
            else:
                values = np.zeros((count, shape[0] * shape[1]), dtype)
            sparse = accessor.get("sparse")
            if sparse:
                placeType = np.dtype(COMPONENT_TYPES[sparse["indices"]["componentType"]])
                rows = read(sparse["indices"], placeType, (1, 1), sparse["count"])[:, 0]
                if rows.size and rows.max() >= count:
                    raise GltfError(f"{self.path}: {what} has a sparse index past its end")
                values = values.copy()
                values[rows] = read(sparse["values"], dtype, shape, sparse["count"])
            self._arrays[index] = values
        return self._arrays[index]

    def values(self, index):
        """The elements as numbers of 64 bits, normalized ones brought to 0..1 or -1..1."""
        raw = self.rawValues(index)
        accessor = self.item("accessors", index)
        values = raw.astype(np.float64)
        if accessor.get("normalized") and accessor["componentType"] in NORMALIZED_RANGE:
            values = np.maximum(values / NORMALIZED_RANGE[accessor["componentType"]], -1.0)
        return values

    def imageSum(self, index):
        """SHA-256 of the encoded image; a missing file is told apart by its name."""
        if index not in self._imageSums:
            image = self.item("images", index)
            if "bufferView" in image:
                data = bytes(self.bufferView(image["bufferView"]))
                self._imageSums[index] = hashlib.sha256(data).hexdigest()
            elif "uri" in image:
                try:
                    self._imageSums[index] = hashlib.sha256(self._readUri(image["uri"])).hexdigest()
                except GltfError:
                    self._imageSums[index] = "missing file " + urllib.parse.unquote(image["uri"])
            else:
                self._imageSums[index] = "no data"
        return self._imageSums[index]

    def _readElements(self, what, viewIndex, offset, dtype, shape, count):
        columns, rows = shape
        columnBytes = rows * dtype.itemsize
        columnStep = columnBytes if columns == 1 else (columnBytes + 3) // 4 * 4
        elementBytes = columnStep * (columns - 1) + columnBytes
        stride = self.item("bufferViews", viewIndex).get("byteStride", columnStep * columns)
        data = self.bufferView(viewIndex)
        if count == 0:
            return np.zeros((0, columns * rows), dtype)
        end = offset + stride * (count - 1) + elementBytes
        if end > len(data):
            raise GltfError(f"{self.path}: {what} ends {end - len(data)} bytes past its buffer view")
        elements = np.ndarray((count, columns, rows), dtype, data, offset, (stride, columnStep, dtype.itemsize))
        return elements.reshape(count, columns * rows)

    def _readUri(self, uri):
        if uri.startswith("data:"):
            head, comma, body = uri.partition(",")
            if not comma:
                raise GltfError(f"{self.path}: a data URI has no data")
            try:
                if head.endswith(";base64"):
                    return base64.b64decode(urllib.parse.unquote(body) + "==", validate=False)
                return urllib.parse.unquote_to_bytes(body)
            except ValueError as error:
                raise GltfError(f"{self.path}: a data URI cannot be decoded: {error}") from None
        path = os.path.join(os.path.dirname(self.path), urllib.parse.unquote(uri))
        try:
            with open(path, "rb") as file:
                return file.read()
        except (OSError, ValueError) as error:
            raise GltfError(f"{self.path}: {uri}: {error}") from None


def _number(text):
    """An index may be written 1.0; JSON does not tell the two apart."""
    value = float(text)
    return int(value) if abs(value) < 2**53 and value == int(value) else value


def _splitBinary(path, data):
    """The JSON and the binary chunk of a .glb."""
    if len(data) < 20:
        raise GltfError(f"{path}: the header is cut off")
    version, length = struct.unpack_from("<II", data, 4)
    if version != 2 or length > len(data):
        raise GltfError(f"{path}: version {version}, {length} bytes announced, {len(data)} there")
    text = binary = None
    offset = 12
    while offset + 8 <= length:
        size, kind = struct.unpack_from("<II", data, offset)
        body = data[offset + 8 : offset + 8 + size]
        if len(body) < size:
            raise GltfError(f"{path}: a chunk is cut off")
        if kind == 0x4E4F534A and text is None:
            text = body
        elif kind == 0x004E4942 and binary is None:
            binary = body
        offset += 8 + size
    if text is None:
        raise GltfError(f"{path}: has no JSON chunk")
    return text, binary
