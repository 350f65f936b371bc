// Vertex data of tests: a sheet with every kind of attribute.
#pragma once

#include "platform/sg/kxGeometry.h"
#include "tests/support/kxRandomScene.h"

#include <cmath>
#include <cstring>

namespace Kel::Test
{

inline kxSmartPointer<kxVertexArray> makeArray(const char* semantic, kxComponentType type, uint32_t components,
                                               const std::vector<float>& numbers, bool normalized = false)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = semantic;
    array->_componentType = type;
    array->_componentCount = components;
    array->_normalized = normalized;
    array->_count = static_cast<int64_t>(numbers.size() / components);
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::create(numbers.size() * componentBytes(type));
    uint8_t* at = array->_data->getWritableData();
    for (const float number : numbers)
    {
        if (type == kxComponentType::FLOAT32)
            std::memcpy(at, &number, 4);
        else if (type == kxComponentType::UINT16)
        {
            const auto value = static_cast<uint16_t>(number);
            std::memcpy(at, &value, 2);
        }
        else
            *at = static_cast<uint8_t>(number);
        at += componentBytes(type);
    }
    return array;
}

/// A bent sheet of n x n squares with every kind of attribute, as triangles, a strip, a fan or as lines.
inline kxSmartPointer<kxGeometryAttr> makeSheet(uint32_t n, kxPrimitiveMode mode, TestRandom* random = nullptr)
{
    std::vector<float> positions, normals, tangents, coordinates, colors, numbers, indices;
    for (uint32_t y = 0; y <= n; ++y)
        for (uint32_t x = 0; x <= n; ++x)
        {
            const float u = static_cast<float>(x) / static_cast<float>(n),
                        v = static_cast<float>(y) / static_cast<float>(n);
            const float noise = random ? static_cast<float>(random->below(100)) / 2000 : 0;
            positions.insert(positions.end(), {u * 4 + noise, std::sin(u * 3) + v * v + noise, v * 4 - noise});
            kxVec3f normal(-3 * std::cos(u * 3) / 4, 1, -v / 2);
            normal.normalize();
            normals.insert(normals.end(), {normal.x, normal.y, normal.z});
            tangents.insert(tangents.end(), {1, 0, 0, u < 0.5f ? 1.0f : -1.0f});
            coordinates.insert(coordinates.end(), {u, v});
            colors.insert(colors.end(), {u * 255, v * 255, 0, 255});
            numbers.push_back(u < 0.5f ? 3 : 7);
        }
    auto at = [&](uint32_t x, uint32_t y) { return static_cast<float>(y * (n + 1) + x); };
    for (uint32_t y = 0; y < n; ++y)
        for (uint32_t x = 0; x < n; ++x)
            if (mode == kxPrimitiveMode::TRIANGLES)
                indices.insert(indices.end(),
                               {at(x, y), at(x, y + 1), at(x + 1, y), at(x + 1, y), at(x, y + 1), at(x + 1, y + 1)});
            else if (mode == kxPrimitiveMode::LINES)
                indices.insert(indices.end(), {at(x, y), at(x + 1, y + 1)});
    // Rows of a strip are joined by triangles without extent.
    for (uint32_t y = 0; y < n && mode == kxPrimitiveMode::TRIANGLE_STRIP; ++y)
    {
        if (y > 0)
            indices.insert(indices.end(), {indices.back(), at(0, y)});
        for (uint32_t x = 0; x <= n; ++x)
            indices.insert(indices.end(), {at(x, y), at(x, y + 1)});
    }
    // To and fro, so that no line is long.
    if (mode == kxPrimitiveMode::LINE_STRIP || mode == kxPrimitiveMode::LINE_LOOP)
        for (uint32_t y = 0; y <= n; ++y)
            for (uint32_t x = 0; x <= n; ++x)
                indices.push_back(at(y % 2 ? n - x : x, y));
    if (mode == kxPrimitiveMode::TRIANGLE_FAN)
    {
        indices = {at(n / 2, n / 2)};
        for (uint32_t i = 0; i <= 4 * n; ++i)
            indices.push_back(i < n       ? at(i, 0)
                              : i < 2 * n ? at(n, i - n)
                              : i < 3 * n ? at(3 * n - i, n)
                              : i < 4 * n ? at(0, 4 * n - i)
                                          : at(0, 0));
    }
    auto attr = kxNew<kxGeometryAttr>();
    attr->_primitiveMode = mode;
    attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
    attr->_arrays->append(makeArray("NORMAL", kxComponentType::FLOAT32, 3, normals));
    attr->_arrays->append(makeArray("TANGENT", kxComponentType::FLOAT32, 4, tangents));
    attr->_arrays->append(makeArray("TEXCOORD_0", kxComponentType::FLOAT32, 2, coordinates));
    attr->_arrays->append(makeArray("COLOR_0", kxComponentType::UINT8, 4, colors, true));
    attr->_arrays->append(makeArray("_ID", kxComponentType::UINT8, 1, numbers));
    if (mode != kxPrimitiveMode::POINTS)
        attr->_indices = makeArray("INDICES", kxComponentType::UINT16, 1, indices);
    return attr;
}

inline kxSmartPointer<kxGeometry> makeGeometry(kxGeometryAttr* attr)
{
    auto geometry = kxNew<kxGeometry>();
    geometry->appendAttr(attr);
    return geometry;
}

inline kxVec3f vectorAt(const kxVertexArray* array, uint32_t index)
{
    kxVec3f vector;
    for (uint32_t c = 0; c < 3; ++c)
        vector[static_cast<int>(c)] = static_cast<float>(array->getComponent(index, c));
    return vector;
}

} // namespace Kel::Test
