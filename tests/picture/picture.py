"""What a glTF file shows and holds, in a form free of indices, of sharing and of how buffers are packed.

A Thing is one entry of a multiset: a draw, a camera, a light, a place in the hierarchy, an animation channel. Its
`discrete` part has to be equal, its `numbers` may differ by rounding.
"""

import hashlib
import json
import re

import numpy as np

from gltffile import GltfError

# What the format says a property is when it is not there. Keys of extensions stand beside those of the core.
MATERIAL_DEFAULTS = {
    "emissiveFactor": [0, 0, 0], "alphaMode": "OPAQUE", "alphaCutoff": 0.5, "doubleSided": False,
    "pbrMetallicRoughness": {},
}
NESTED_DEFAULTS = {
    "pbrMetallicRoughness": {"baseColorFactor": [1, 1, 1, 1], "metallicFactor": 1, "roughnessFactor": 1},
    "normalTexture": {"scale": 1},
    "clearcoatNormalTexture": {"scale": 1},
    "occlusionTexture": {"strength": 1},
    "KHR_materials_anisotropy": {"anisotropyStrength": 0, "anisotropyRotation": 0},
    "KHR_materials_clearcoat": {"clearcoatFactor": 0, "clearcoatRoughnessFactor": 0},
    "KHR_materials_diffuse_transmission": {"diffuseTransmissionFactor": 0, "diffuseTransmissionColorFactor": [1, 1, 1]},
    "KHR_materials_dispersion": {"dispersion": 0},
    "KHR_materials_emissive_strength": {"emissiveStrength": 1},
    "KHR_materials_ior": {"ior": 1.5},
    "KHR_materials_iridescence": {"iridescenceFactor": 0, "iridescenceIor": 1.3, "iridescenceThicknessMinimum": 100,
                                  "iridescenceThicknessMaximum": 400},
    "KHR_materials_pbrSpecularGlossiness": {"diffuseFactor": [1, 1, 1, 1], "specularFactor": [1, 1, 1],
                                            "glossinessFactor": 1},
    "KHR_materials_sheen": {"sheenColorFactor": [0, 0, 0], "sheenRoughnessFactor": 0},
    "KHR_materials_specular": {"specularFactor": 1, "specularColorFactor": [1, 1, 1]},
    "KHR_materials_transmission": {"transmissionFactor": 0},
    "KHR_materials_volume": {"thicknessFactor": 0, "attenuationDistance": None, "attenuationColor": [1, 1, 1]},
}
LIGHT_DEFAULTS = {"color": [1, 1, 1], "intensity": 1, "range": None}
SPOT_DEFAULTS = {"innerConeAngle": 0, "outerConeAngle": 0.7853981633974483}
# The parts of a node that animations set one by one, and their values where the node does not name them.
REST = {"translation": [0.0, 0.0, 0.0], "rotation": [0.0, 0.0, 0.0, 1.0], "scale": [1.0, 1.0, 1.0]}
IMAGE_SOURCES = ("EXT_texture_webp", "EXT_texture_avif", "KHR_texture_basisu", "MSFT_texture_dds")

# How the data lies in the file: whoever writes a file anew lays it out anew, and what hangs there goes with it.
# Properties of extensions that are indices of buffer views, beside those that are called so.
VIEW_KEYS = {"EXT_structural_metadata": ("values", "arrayOffsets", "stringOffsets")}
STORAGE = ("buffers", "bufferViews", "accessors")

NAMED_KINDS = ("scenes", "nodes", "meshes", "materials", "textures", "images", "animations", "skins", "cameras")

# Attributes of unit length or of the range 0..1; the extent of all others is that of their values.
UNIT_ATTRIBUTE = re.compile(r"(TARGET\d+\.)?(NORMAL|TANGENT|COLOR_\d+|WEIGHTS_\d+|JOINTS_\d+)$")


def canonical(value, exact=False):
    """JSON text, equal for equal values: sorted keys, 1.0 is 1, and unless `exact` the precision of a 32-bit float."""

    def plain(item):
        if isinstance(item, dict):
            return {key: plain(child) for key, child in item.items()}
        if isinstance(item, (list, tuple)):
            return [plain(child) for child in item]
        if isinstance(item, bool) or not isinstance(item, (int, float)):
            return item
        if abs(item) < 2**31 and item == int(item):
            return int(item)
        if exact:
            return item
        with np.errstate(over="ignore"):
            return float(f"{np.float32(item):.6g}")

    return json.dumps(plain(value), sort_keys=True, ensure_ascii=False, separators=(",", ":"))


def digest(array):
    return hashlib.blake2b(np.ascontiguousarray(array).tobytes(), digest_size=16).digest()


class Numbers:
    """An array that is compared within a tolerance relative to `scale`: a number, or an array of the same shape."""

    def __init__(self, values, scale, key=None):
        self._values = values
        self.scale = scale
        self.key = key if key is not None else values.tobytes()

    @property
    def values(self):
        return self._values() if callable(self._values) else self._values


class Thing:
    def __init__(self, label, discrete, numbers):
        self.label = label
        self.discrete = discrete  # part -> text
        self.numbers = numbers  # part -> Numbers
        self.bucket = tuple(sorted(discrete.items()))
        self.exact = (self.bucket, tuple((name, part.key) for name, part in numbers.items()))


class Geometry:
    """What one primitive hands to the renderer, corner by corner: equal however its vertices are shared or packed."""

    def __init__(self, file, primitive, label):
        self._file = file
        self._primitive = primitive
        self.label = label
        self.mode = primitive.get("mode", 4)
        self.numbers = {}
        self.radius = 0.0
        shape = []
        for name, accessor in self._accessors():
            stream = self._stream(name, accessor)
            if name == "POSITION" and stream.size:
                self.radius = float(np.abs(stream).max())
            shape.append([name, stream.shape[1]])
            self.numbers[name] = Numbers(lambda n=name, a=accessor: self._stream(n, a), _extent(name, stream),
                                         digest(stream))
        self.shape = canonical({"mode": self.mode, "corners": self._cornerCount(), "attributes": shape})

    def _accessors(self):
        yield from sorted(self._primitive.get("attributes", {}).items())
        for number, target in enumerate(self._primitive.get("targets", [])):
            for name, accessor in sorted(target.items()):
                yield f"TARGET{number}.{name}", accessor

    def _cornerCount(self):
        source = self._primitive.get("indices", self._primitive.get("attributes", {}).get("POSITION"))
        return None if source is None else self._file.item("accessors", source)["count"]

    def _stream(self, name, accessor):
        values = self._file.values(accessor)
        if name.split(".")[-1].startswith("COLOR_") and values.shape[1] == 3:
            alpha = 0.0 if name.startswith("TARGET") else 1.0
            values = np.column_stack((values, np.full(len(values), alpha)))
        if "indices" in self._primitive:
            corners = self._file.rawValues(self._primitive["indices"])[:, 0]
            if corners.size and corners.max() >= len(values):
                raise GltfError(f"{self._file.path}: {self.label}: index {corners.max()} is past the end of {name}")
            values = values[corners]
        return values.astype(np.float32) + np.float32(0)  # -0 becomes 0


def _extent(name, stream):
    if UNIT_ATTRIBUTE.match(name) or not stream.size:
        return 1.0
    # A small mesh far from its origin cannot be stored better than the precision of its distance.
    return max(float(np.ptp(stream, axis=0).max()), 0.01 * float(np.abs(stream).max()), 1e-30)


def localMatrix(node):
    if "matrix" in node:
        return np.array(node["matrix"], np.float64).reshape(4, 4).T
    matrix = np.eye(4)
    x, y, z, w = node.get("rotation", (0.0, 0.0, 0.0, 1.0))
    length = (x * x + y * y + z * z + w * w) ** 0.5 or 1.0
    x, y, z, w = x / length, y / length, z / length, w / length
    matrix[:3, :3] = ((1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)),
                      (2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)),
                      (2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)))
    matrix[:3, :3] *= np.array(node.get("scale", (1.0, 1.0, 1.0)))
    matrix[:3, 3] = node.get("translation", (0.0, 0.0, 0.0))
    return matrix


def placement(matrix, reach):
    """A world matrix as Numbers; `reach` is how far from the origin its path and its mesh go."""
    scale = np.empty((4, 4))
    scale[:, :3] = max(float(np.abs(matrix[:3, :3]).max()), 1e-30)
    scale[:, 3] = max(reach, 1e-30)
    return Numbers(matrix + 0.0, scale)


class Picture:
    def __init__(self, file):
        self.file = file
        self.opaque = set()  # extensions whose numbers may be indices into arrays of the file
        self._cache = {}
        self._nodes = file.items("nodes")
        self._parents = {}
        for index, node in enumerate(self._nodes):
            for child in node.get("children", []):
                self._parents.setdefault(child, index)
        self._worlds = {}
        self._nameCounts = {}

    # ---- materials, textures and other things that are referred to

    def texture(self, index):
        return self._once("texture", index, lambda: self._texture(index))

    def _texture(self, index):
        texture = self.file.item("textures", index)
        sampler = dict(self.file.item("samplers", texture["sampler"])) if "sampler" in texture else {}
        result = {"image": None if "source" not in texture else self.file.imageSum(texture["source"]),
                  "sampler": {"wrapS": sampler.get("wrapS", 10497), "wrapT": sampler.get("wrapT", 10497),
                              "magFilter": sampler.get("magFilter"), "minFilter": sampler.get("minFilter")}}
        for name, extension in texture.get("extensions", {}).items():
            result[name] = self.extensionValue(name, extension)
        return result

    def textureInfo(self, info, key):
        result = dict(NESTED_DEFAULTS.get(key, {}))
        result.update({name: value for name, value in info.items() if name not in ("index", "extensions", "extras")})
        result["texture"] = self.texture(info["index"])
        extensions = dict(info.get("extensions", {}))
        transform = dict(extensions.pop("KHR_texture_transform", {}))
        result["texCoord"] = transform.pop("texCoord", info.get("texCoord", 0))
        result["transform"] = {"offset": [0, 0], "rotation": 0, "scale": [1, 1], **transform}
        for name, extension in extensions.items():
            result[name] = self.extensionValue(name, extension)
        return result

    def resolved(self, value, key=""):
        """A part of a material: defaults filled in, references to textures replaced by what they refer to."""
        if isinstance(value, list):
            return [self.resolved(child, key) for child in value]
        if not isinstance(value, dict):
            return value
        if key.endswith("Texture") and isinstance(value.get("index"), int):
            return self.textureInfo(value, key)
        result = dict(NESTED_DEFAULTS.get(key, {}))
        result.update({name: self.resolved(child, name) for name, child in value.items() if name != "extras"})
        return result

    def material(self, index):
        return self._once("material", index, lambda: self._material(index))

    def _material(self, index):
        material = {} if index is None else self.file.item("materials", index)
        material = self._withData({k: v for k, v in material.items() if k != "name"}, ())
        filled = self.resolved({**MATERIAL_DEFAULTS, **material})
        if filled["alphaMode"] != "MASK":
            del filled["alphaCutoff"]
        return canonical(filled)

    def light(self, index):
        lights = self.file.extension("KHR_lights_punctual").get("lights", [])
        if not 0 <= index < len(lights):
            raise GltfError(f"{self.file.path}: light {index} does not exist")
        light = {k: v for k, v in lights[index].items() if k not in ("name", "extras")}
        spot = light.pop("spot", {})
        result = {**LIGHT_DEFAULTS, **light}
        if light.get("type") == "spot":
            result["spot"] = {**SPOT_DEFAULTS, **spot}
        return canonical(self._withData(result, ()))

    def camera(self, index):
        camera = self.file.item("cameras", index)
        return canonical(self._withData({k: v for k, v in camera.items() if k not in ("name", "extras")}, ()))

    def variants(self, primitive):
        """Name of variant -> material, of one primitive."""
        names = [variant.get("name") for variant in self.file.extension("KHR_materials_variants").get("variants", [])]
        result = {}
        for mapping in primitive.get("extensions", {}).get("KHR_materials_variants", {}).get("mappings", []):
            for variant in mapping["variants"]:
                result[names[variant]] = self.material(mapping["material"])
        return canonical(result)

    # ---- the hierarchy

    def worldMatrix(self, index):
        """By way of the first parent, where a broken file gives a node several."""
        chain = []
        while index is not None and index not in self._worlds:
            chain.append(index)
            if len(chain) > len(self._nodes):
                raise GltfError(f"{self.file.path}: node {index} is its own ancestor")
            index = self._parents.get(index)
        world = np.eye(4) if index is None else self._worlds[index]
        for step in reversed(chain):
            world = world @ localMatrix(self.file.item("nodes", step))
            self._worlds[step] = world
        return world

    def scenes(self):
        """Root nodes of each scene; a file without scenes is one implied scene of all its roots."""
        if self.file.items("scenes"):
            return [scene.get("nodes", []) for scene in self.file.items("scenes")]
        return [[index for index in range(len(self._nodes)) if index not in self._parents]]

    def _paths(self, roots):
        """Every path from a root: (label, node index, world matrix, reach, visible), parents first."""
        seen = 0
        stack = [(label, index, np.eye(4), 0.0, True) for label, index in self._labelled("", roots)][::-1]
        while stack:
            label, index, parentWorld, reach, visible = stack.pop()
            seen += 1
            if label.count("/") > len(self._nodes) or seen > 50 * len(self._nodes) + 1000:
                raise GltfError(f"{self.file.path}: the hierarchy has a loop")
            node = self.file.item("nodes", index)
            world = parentWorld @ localMatrix(node)
            reach = max(reach, float(np.abs(world[:3, 3]).max()))
            visible = visible and node.get("extensions", {}).get("KHR_node_visibility", {}).get("visible", True)
            yield label, node, world, reach, visible
            children = self._labelled(label + "/", node.get("children", []))
            stack.extend([(childLabel, child, world, reach, visible) for childLabel, child in children][::-1])

    def _labelled(self, prefix, indices):
        """Children with their labels: the name, or the place among the siblings for one that has none."""
        return [(prefix + (self.file.item("nodes", index).get("name") or f"#{place}").replace("/", "|"), index)
                for place, index in enumerate(indices)]

    # ---- what is drawn

    def draws(self, roots):
        for label, node, world, reach, visible in self._paths(roots):
            extensions = node.get("extensions", {})
            if "mesh" in node:
                yield from self._meshDraws(label, node, world, reach, visible)
            if "camera" in node:
                yield Thing(f"camera {label}", {"camera": self.camera(node["camera"]), "visible": str(visible)},
                            {"world matrix": placement(world, reach)})
            if "light" in extensions.get("KHR_lights_punctual", {}):
                light = self.light(extensions["KHR_lights_punctual"]["light"])
                yield Thing(f"light {label}", {"light": light, "visible": str(visible)},
                            {"world matrix": placement(world, reach)})

    def _meshDraws(self, label, node, world, reach, visible):
        mesh = self.file.item("meshes", node["mesh"])
        shared, placed = {"visible": str(visible)}, {}
        if "skin" in node:
            # The vertices go where the joints are; the node's own matrix has no say.
            placed = self._skin(node["skin"])
        for number, primitive in enumerate(mesh.get("primitives", [])):
            geometry = self._geometry(node["mesh"], number)
            discrete = {**shared, "geometry": geometry.shape, "material": self.material(primitive.get("material"))}
            numbers = dict(placed)
            if "skin" not in node:
                size = geometry.radius * float(np.abs(world[:3, :3]).max())
                numbers["world matrix"] = placement(world, max(reach, size))
            if "KHR_materials_variants" in primitive.get("extensions", {}):
                discrete["material variants"] = self.variants(primitive)
            targets = primitive.get("targets", [])
            if targets:
                weights = node.get("weights", mesh.get("weights", [0.0] * len(targets)))
                numbers["weights"] = Numbers(np.array(weights, np.float64), 1.0)
            instancing = node.get("extensions", {}).get("EXT_mesh_gpu_instancing")
            if instancing is not None:
                streams = {name: self.file.values(accessor).astype(np.float32) + np.float32(0)
                           for name, accessor in sorted(instancing.get("attributes", {}).items())}
                discrete["instances"] = canonical({name: stream.shape for name, stream in streams.items()})
                for name, stream in streams.items():
                    numbers["instance " + name] = Numbers(stream, _extent(name, stream))
            numbers.update(geometry.numbers)
            yield Thing(f"{label} {geometry.label}", discrete, numbers)

    def _geometry(self, meshIndex, number):
        mesh = self.file.item("meshes", meshIndex)
        label = f"mesh {mesh.get('name') or f'#{meshIndex}'!r} primitive {number}"
        primitive = mesh["primitives"][number]
        return self._once("geometry", (meshIndex, number), lambda: Geometry(self.file, primitive, label))

    def _skin(self, index):
        return self._once("skin", index, lambda: self._skinNumbers(index))

    def _skinNumbers(self, index):
        skin = self.file.item("skins", index)
        joints = np.array([self.worldMatrix(joint) for joint in skin["joints"]])
        if "inverseBindMatrices" in skin:
            bind = self.file.values(skin["inverseBindMatrices"])[: len(joints)]
        else:
            bind = np.tile(np.eye(4).reshape(16), (len(joints), 1))
        return {"joint matrices": Numbers(joints, max(float(np.abs(joints).max(initial=0)), 1e-30)),
                "inverse bind matrices": Numbers(bind + 0.0, max(float(np.abs(bind).max(initial=0)), 1e-30))}

    # ---- what moves

    def nodeIdentity(self, index):
        """The name where no other node has it, otherwise the path from the root."""
        if index is None:
            return None
        if not self._nameCounts:
            for node in self._nodes:
                self._nameCounts[node.get("name")] = self._nameCounts.get(node.get("name"), 0) + 1
        name = self.file.item("nodes", index).get("name")
        if name and self._nameCounts[name] == 1:
            return name
        return self._once("path", index, lambda: self._path(index))

    def _path(self, index):
        steps = []
        while index is not None and len(steps) <= len(self._nodes):
            parent = self._parents.get(index)
            siblings = self._roots() if parent is None else self._nodes[parent]["children"]
            name = self._nodes[index].get("name") or ""
            alike = [child for child in siblings if (self.file.item("nodes", child).get("name") or "") == name]
            steps.append(f"{name}#{alike.index(index) if index in alike else '?'}")
            index = parent
        return "/".join(reversed(steps))

    def _roots(self):
        return self._once("roots", 0, lambda: list(dict.fromkeys(
            [root for roots in self.scenes() for root in roots] +
            [index for index in range(len(self._nodes)) if index not in self._parents])))

    def identity(self, kind, index):
        """What an index of a top-level array refers to, as text that a reordered file has too."""
        item = self.file.item(kind, index)
        if kind == "nodes":
            return self.nodeIdentity(index)
        content = self.material(index) if kind == "materials" else ""
        return canonical([kind, item.get("name"), hashlib.sha256(content.encode()).hexdigest()[:12] if content else ""])

    def pointer(self, text):
        """A JSON pointer with its index replaced by the identity of the thing."""
        steps = text.split("/")
        if len(steps) > 2 and steps[1] in NAMED_KINDS and steps[2].isdigit():
            steps[2] = str(self.identity(steps[1], int(steps[2])))
        elif text.startswith("/extensions/KHR_lights_punctual/lights/") and steps[4].isdigit():
            light = self.file.extension("KHR_lights_punctual")["lights"][int(steps[4])]
            steps[4] = canonical([light.get("name"), self.light(int(steps[4]))])
        return "/".join(steps)

    def animations(self):
        """(name, channels) of each animation; the channels are Things."""
        for number, animation in enumerate(self.file.items("animations")):
            label = f"animation {animation.get('name') or f'#{number}'!r}"
            yield animation.get("name") or "", [self._channel(label, animation, channel)
                                                for channel in animation.get("channels", [])]

    def _channel(self, label, animation, channel):
        target = channel["target"]
        node, path = target.get("node"), target["path"]
        pointer = target.get("extensions", {}).get("KHR_animation_pointer", {}).get("pointer")
        what = self.nodeIdentity(node) if pointer is None else self.pointer(pointer)
        discrete, numbers = {"target": canonical(what), "path": path}, {}
        pointed = re.fullmatch(r"/nodes/(\d+)/(\w+)", pointer or "")
        if pointed:
            node, path = int(pointed[1]), pointed[2]
        if node is not None and path in REST:
            # What the channel leaves alone decides where the node is while it runs.
            item = self.file.item("nodes", node)
            discrete["matrix"] = str("matrix" in item)
            numbers = {part: Numbers(np.array(item.get(part, value), np.float64) + 0.0,
                                     max(1.0, *(abs(number) for number in item.get(part, value))))
                       for part, value in REST.items() if part != path}
        sampler = animation["samplers"][channel["sampler"]]
        discrete["interpolation"] = sampler.get("interpolation", "LINEAR")
        for key in ("input", "output"):
            values = self.file.values(sampler[key]).astype(np.float32)
            discrete[key] = f"{values.shape[0]} x {values.shape[1]} " + self._once(
                "samples", sampler[key], lambda: digest(values).hex())
        return Thing(f"{label} {discrete['path']} of {what}", discrete, numbers)

    # ---- the inventory

    def counts(self):
        result = {kind: len(self.file.items(kind)) for kind in NAMED_KINDS}
        result["primitives"] = sum(len(mesh.get("primitives", [])) for mesh in self.file.items("meshes"))
        result["channels"] = sum(len(animation.get("channels", [])) for animation in self.file.items("animations"))
        result["lights"] = len(self.file.extension("KHR_lights_punctual").get("lights", []))
        return result

    def names(self):
        """Kind -> names; an empty name is none."""
        result = {kind: [item.get("name") or "" for item in self.file.items(kind)] for kind in NAMED_KINDS}
        lights = self.file.extension("KHR_lights_punctual").get("lights", [])
        result["lights"] = [light.get("name") or "" for light in lights]
        return result

    def places(self, roots):
        """Every path with its world matrix and with what hangs there, also where nothing is drawn."""
        for label, node, world, reach, _ in self._paths(roots):
            holds = {kind: self.file.item(plural, node[kind]).get("name") or ""
                     for kind, plural in (("mesh", "meshes"), ("camera", "cameras"), ("skin", "skins")) if kind in node}
            yield Thing(f"node {label}", {"path": label, "holds": canonical(holds)},
                        {"world matrix": placement(world, reach)})

    def skins(self):
        for number, skin in enumerate(self.file.items("skins")):
            joints = canonical([self.nodeIdentity(joint) for joint in skin["joints"]])
            yield Thing(f"skin {skin.get('name') or f'#{number}'!r}",
                        {"name": skin.get("name") or "", "joints": joints,
                         "skeleton": canonical(self.nodeIdentity(skin.get("skeleton")))}, self._skin(number))

    def contents(self):
        """(kind, name, what it says) of the things that a draw refers to: nothing may hang on whether one is drawn."""
        result = []
        for kind, value in (("materials", self.material), ("cameras", self.camera),
                            ("textures", lambda index: canonical(self.texture(index))), ("images", self.file.imageSum)):
            result += [(kind, item.get("name") or "", value(index)) for index, item in enumerate(self.file.items(kind))]
        return result

    def primitives(self):
        for index, mesh in enumerate(self.file.items("meshes")):
            for number, primitive in enumerate(mesh.get("primitives", [])):
                geometry = self._geometry(index, number)
                material = primitive.get("material")
                name = None if material is None else self.file.item("materials", material).get("name") or ""
                yield Thing(geometry.label, {"geometry": geometry.shape, "mesh": mesh.get("name") or "",
                                             "material": self.material(material), "material name": canonical(name),
                                             "weights": canonical(mesh.get("weights", []))}, geometry.numbers)

    def extras(self):
        """(owner, canonical JSON) of everything that has extras; owners are named, not numbered. Bytes that the extras
        refer to stand in their places."""
        return [(label, canonical(self._withData(item["extras"], ()), exact=True))
                for label, item in self._owners() if "extras" in item]

    def extensions(self):
        """(owner, name, canonical JSON) of every extension; known references are replaced by what they refer to."""
        return [(label, name, canonical(self.extensionValue(name, value)))
                for label, item in self._owners() for name, value in item.get("extensions", {}).items()]

    def _owners(self):
        """Every object of the JSON that can carry extras or extensions, with a label free of indices."""
        stack = [("file", self.file.json)]
        while stack:
            label, item = stack.pop()
            yield label, item
            for key, child in item.items():
                if item is self.file.json and key in STORAGE or key == "extras":
                    continue
                if key == "extensions":
                    stack.extend((f"{label} {name}", value) for name, value in child.items() if isinstance(value, dict))
                elif isinstance(child, dict):
                    stack.append((f"{label} {key}" if item is not self.file.json else key, child))
                elif isinstance(child, list):
                    for number, element in enumerate(child):
                        if isinstance(element, dict):
                            stack.append((_elementLabel(label, key, number, element, item is self.file.json), element))

    def extensionValue(self, name, value):
        if not isinstance(value, dict):
            return value
        if name == "KHR_draco_mesh_compression":
            data = hashlib.sha256(self.file.bufferView(value["bufferView"])).hexdigest()
            return {**value, "bufferView": data}
        value = self._withData(value, VIEW_KEYS.get(name, ()))
        if name in IMAGE_SOURCES and "source" in value:
            return {**value, "source": self.file.imageSum(value["source"])}
        if name == "KHR_lights_punctual":
            if "light" in value:
                return {**value, "light": self.light(value["light"])}
            return {**value, "lights": [self.light(light) for light in range(len(value.get("lights", [])))]}
        if name == "KHR_materials_variants" and "mappings" in value:
            names = [v.get("name") for v in self.file.extension(name).get("variants", [])]
            return {**value, "mappings": [{**mapping, "material": self.identity("materials", mapping["material"]),
                                           "variants": sorted(names[v] for v in mapping["variants"])}
                                          for mapping in value["mappings"]]}
        if name == "EXT_mesh_gpu_instancing":
            return {**value, "attributes": {key: digest(self.file.values(accessor).astype(np.float32)).hex()
                                            for key, accessor in value.get("attributes", {}).items()}}
        if name == "KHR_animation_pointer" and "pointer" in value:
            return {**value, "pointer": self.pointer(value["pointer"])}
        if name.startswith("KHR_materials_") or name in ("KHR_texture_transform", "KHR_node_visibility"):
            return self.resolved(value, name)
        resolved = self.resolved(value)
        if _mayHoldIndices(resolved):
            self.opaque.add(name)
        return resolved

    def _withData(self, value, viewKeys):
        """The value with the bytes that its indices of buffer views and accessors name in their places, as sums."""
        if isinstance(value, list):
            return [self._withData(element, viewKeys) for element in value]
        if not isinstance(value, dict):
            return value
        result = {}
        for key, child in value.items():
            isIndex = isinstance(child, int) and not isinstance(child, bool) and child >= 0
            if isIndex and (key == "bufferView" or key in viewKeys) and child < len(self.file.items("bufferViews")):
                child = hashlib.sha256(self.file.bufferView(child)).hexdigest()
            elif isIndex and key == "accessor" and child < len(self.file.items("accessors")):
                child = digest(self.file.values(child)).hex()
            result[key] = self._withData(child, viewKeys)
        return result

    def _once(self, kind, key, make):
        if (kind, key) not in self._cache:
            self._cache[kind, key] = make()
        return self._cache[kind, key]


def _elementLabel(label, key, number, element, top):
    name = f" {element['name']!r}" if isinstance(element.get("name"), str) and element["name"] else ""
    if top:
        return f"{key}{name}"
    return f"{label} {key}[{number}]" if key == "primitives" else f"{label} {key}{name}"


def _mayHoldIndices(value):
    if isinstance(value, dict):
        return any(_mayHoldIndices(child) for child in value.values())
    if isinstance(value, list):
        return any(_mayHoldIndices(child) for child in value)
    if isinstance(value, str):
        return re.match(r"/[A-Za-z]+/(\d|\{)", value) is not None
    return isinstance(value, int) and not isinstance(value, bool)
