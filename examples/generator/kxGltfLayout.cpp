#include "kxGltfLayout.h"

#include "kxPngMaker.h"

#include <algorithm>
#include <bit>

namespace Kel::Examples
{

namespace
{

constexpr int kFloat = 5126;
constexpr int kUnsignedByte = 5121;
constexpr int kUnsignedShort = 5123;
constexpr int kUnsignedInt = 5125;
constexpr int kVertexTarget = 34962;
constexpr int kIndexTarget = 34963;

size_t componentCount(std::string_view type)
{
    if (type == "SCALAR")
        return 1;
    if (type == "MAT4")
        return 16;
    return static_cast<size_t>(type.back() - '0');
}

class kxBufferFiller
{
public:
    explicit kxBufferFiller(kxGltfLayout& layout) : m_layout(layout) {}

    size_t addView(const uint8_t* data, size_t byteCount, int target)
    {
        std::vector<uint8_t>& bytes = m_layout.bytes;
        bytes.resize((bytes.size() + 3) / 4 * 4);
        m_layout.views.push_back({bytes.size(), byteCount, target});
        bytes.insert(bytes.end(), data, data + byteCount);
        return m_layout.views.size() - 1;
    }

    int addFloats(const std::vector<float>& values, const char* type, int target, bool bounds)
    {
        std::vector<uint8_t> data;
        data.reserve(values.size() * 4);
        for (const float value : values)
            appendLittleEndian(data, std::bit_cast<uint32_t>(value), 4);
        const size_t components = componentCount(type);
        const size_t view = addView(data.data(), data.size(), target);
        const int index = addAccessor(view, kFloat, values.size() / components, type);
        if (bounds)
            setBounds(m_layout.accessors.back(), values, components);
        return index;
    }

    int addBytes(const std::vector<uint8_t>& values, bool normalized)
    {
        const size_t view = addView(values.data(), values.size(), kVertexTarget);
        const int index = addAccessor(view, kUnsignedByte, values.size() / 4, "VEC4");
        m_layout.accessors.back().normalized = normalized;
        return index;
    }

    int addIndices(const std::vector<uint32_t>& indices, size_t vertexCount)
    {
        const bool isShort = vertexCount <= 0xffff;
        std::vector<uint8_t> data;
        for (const uint32_t index : indices)
            appendLittleEndian(data, index, isShort ? 2 : 4);
        const size_t view = addView(data.data(), data.size(), kIndexTarget);
        return addAccessor(view, isShort ? kUnsignedShort : kUnsignedInt, indices.size(), "SCALAR");
    }

private:
    static void appendLittleEndian(std::vector<uint8_t>& data, uint32_t value, int byteCount)
    {
        for (int byte = 0; byte < byteCount; ++byte)
            data.push_back(static_cast<uint8_t>(value >> (8 * byte)));
    }

    static void setBounds(kxAccessor& accessor, const std::vector<float>& values, size_t components)
    {
        accessor.lowest.assign(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(components));
        accessor.highest = accessor.lowest;
        for (size_t index = 0; index < values.size(); ++index)
        {
            float& low = accessor.lowest[index % components];
            float& high = accessor.highest[index % components];
            low = std::min(low, values[index]);
            high = std::max(high, values[index]);
        }
    }

    int addAccessor(size_t view, int componentType, size_t count, const char* type)
    {
        m_layout.accessors.push_back({view, componentType, count, type, false, {}, {}});
        return static_cast<int>(m_layout.accessors.size() - 1);
    }

    kxGltfLayout& m_layout;
};

} // namespace

kxGltfLayout layOut(const kxScene& scene)
{
    kxGltfLayout layout;
    kxBufferFiller buffer(layout);
    for (const kxSceneGeometry& geometry : scene.geometries)
    {
        kxGeometryAccessors accessors;
        accessors.positions = buffer.addFloats(geometry.positions, "VEC3", kVertexTarget, true);
        accessors.normals = buffer.addFloats(geometry.normals, "VEC3", kVertexTarget, false);
        if (!geometry.uvs.empty())
            accessors.uvs = buffer.addFloats(geometry.uvs, "VEC2", kVertexTarget, false);
        if (!geometry.colors.empty())
            accessors.colors = buffer.addBytes(geometry.colors, true);
        if (!geometry.joints.empty())
            accessors.joints = buffer.addBytes(geometry.joints, false);
        if (!geometry.weights.empty())
            accessors.weights = buffer.addFloats(geometry.weights, "VEC4", kVertexTarget, false);
        if (!geometry.morphPositions.empty())
            accessors.morphPositions = buffer.addFloats(geometry.morphPositions, "VEC3", kVertexTarget, true);
        accessors.indices = buffer.addIndices(geometry.indices, geometry.vertexCount());
        layout.geometries.push_back(accessors);
    }
    for (const kxSceneImage& image : scene.images)
    {
        const std::vector<uint8_t> png = makePng(image);
        layout.imageViews.push_back(buffer.addView(png.data(), png.size(), 0));
    }
    for (const kxSceneSkin& skin : scene.skins)
        layout.skinMatrices.push_back(buffer.addFloats(skin.inverseBindMatrices, "MAT4", 0, false));
    for (const kxSceneAnimation& animation : scene.animations)
    {
        layout.samplers.emplace_back();
        for (const kxSceneChannel& channel : animation.channels)
        {
            const std::string_view path = channel.path;
            const char* type = path == "rotation" ? "VEC4" : path == "weights" ? "SCALAR" : "VEC3";
            const int times = buffer.addFloats(channel.times, "SCALAR", 0, true);
            layout.samplers.back().emplace_back(times, buffer.addFloats(channel.values, type, 0, false));
        }
    }
    return layout;
}

} // namespace Kel::Examples
