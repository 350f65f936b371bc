#include "platform/sg/kxDrawnBoxes.h"

#include "platform/math/kxBoxes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace Kel::Sg
{

using Math::transformBox;

namespace
{

// Numbers that are none leave a box as it is.
void extend(kxAABox& box, const kxVec3f& point)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        box.min[axis] = point[axis] < box.min[axis] ? point[axis] : box.min[axis];
        box.max[axis] = point[axis] > box.max[axis] ? point[axis] : box.max[axis];
    }
}

class PositionReader
{
public:
    explicit PositionReader(const kxVertexArray* array)
        : m_array(array && array->_componentCount == 3 && !array->_matrix && (array->_data || array->_count == 0)
                      ? array
                      : nullptr),
          m_isFloat(m_array && m_array->_componentType == kxComponentType::FLOAT32)
    {
    }
    int64_t getCount() const { return m_array ? m_array->_count : 0; }
    const kxVertexArray* getArray() const { return m_array; }
    bool isPlain() const { return m_isFloat; }
    kxVec3f get(int64_t index) const
    {
        kxVec3f point;
        if (m_isFloat)
            std::memcpy(&point.x, m_array->getElement(index), sizeof point);
        else
            for (uint32_t c = 0; c < 3; ++c)
                point[static_cast<int>(c)] = static_cast<float>(m_array->getComponent(index, c));
        return point;
    }

private:
    const kxVertexArray* m_array;
    bool m_isFloat;
};

// Calls back with each index that names a vertex.
template <class T, class F>
void forEachIndexAs(const kxVertexArray& indices, uint32_t vertexCount, F& callback)
{
    const uint8_t* at = indices._count > 0 ? indices.getElement(0) : nullptr;
    for (int64_t i = 0; i < indices._count; ++i, at += indices._stride)
    {
        T index;
        std::memcpy(&index, at, sizeof index);
        if (index < vertexCount)
            callback(index);
    }
}

template <class F>
void forEachIndex(const kxVertexArray& indices, int64_t vertexCount, F callback)
{
    const auto limit = static_cast<uint32_t>(std::min<int64_t>(vertexCount, UINT32_MAX));
    switch (componentBytes(indices._componentType))
    {
    case 1: return forEachIndexAs<uint8_t>(indices, limit, callback);
    case 2: return forEachIndexAs<uint16_t>(indices, limit, callback);
    default: return forEachIndexAs<uint32_t>(indices, limit, callback);
    }
}

// The same as below for plain numbers that nothing moves: most geometry, and a loop without a question.
kxAABox boxOfPlainVertices(const kxVertexArray& positions, const kxVertexArray* indices)
{
    kxAABox box;
    if (positions._count == 0)
        return box;
    const uint8_t* first = positions.getElement(0);
    const int64_t stride = positions._stride;
    auto add = [&](int64_t vertex)
    {
        kxVec3f point;
        std::memcpy(&point.x, first + vertex * stride, sizeof point);
        extend(box, point);
    };
    if (indices)
        forEachIndex(*indices, positions._count, add);
    else
        for (int64_t i = 0; i < positions._count; ++i)
            add(i);
    return box;
}

} // namespace

kxAABox boxOfVertices(const kxGeometryAttr& attr)
{
    static const kxStringRef kPosition("POSITION");
    kxAABox box;
    const PositionReader positions(attr.getArray(kPosition));
    std::vector<PositionReader> displacements;
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                if (array && array->_semantic == kPosition)
                    displacements.emplace_back(array);

    if (positions.isPlain() && displacements.empty())
        return boxOfPlainVertices(*positions.getArray(), attr._indices);
    const int64_t vertexCount = positions.getCount();
    auto add = [&](int64_t vertex)
    {
        kxVec3f low = positions.get(vertex), high = low;
        for (const PositionReader& displacement : displacements)
        {
            if (vertex >= displacement.getCount())
                continue;
            const kxVec3f way = displacement.get(vertex);
            for (int axis = 0; axis < 3; ++axis)
                (way[axis] < 0 ? low : high)[axis] += way[axis];
        }
        extend(box, low);
        if (!displacements.empty())
            extend(box, high);
    };
    if (!attr._indices)
        for (int64_t i = 0; i < vertexCount; ++i)
            add(i);
    else
        forEachIndex(*attr._indices, vertexCount, add);
    return box;
}

kxAABox boxOfParticles(const kxParticleAttr& particles)
{
    kxAABox box;
    extend(box, kxVec3f(0, 0, 0));
    extend(box, particles._velocity * particles._lifetime);
    const kxVec3f size(std::abs(particles._size));
    return {box.min - size, box.max + size};
}

kxAABox boxOfInstances(const kxInstanceArray& instances, const kxAABox& box)
{
    static const kxStringRef kTranslation("TRANSLATION"), kRotation("ROTATION"), kScale("SCALE");
    const kxVertexArray *translations = nullptr, *rotations = nullptr, *scales = nullptr;
    for (const kxVertexArray* array : *instances._arrays)
        if (array && array->_componentCount == (array->_semantic == kRotation ? 4 : 3))
            (array->_semantic == kTranslation ? translations
             : array->_semantic == kRotation  ? rotations
                                              : scales) = array;
    if (scales && scales->_semantic != kScale)
        scales = nullptr;
    auto number = [](const kxVertexArray* array, int64_t index, uint32_t component)
    { return static_cast<float>(array->getComponent(index, component)); };
    kxAABox all;
    for (int64_t i = 0; i < instances.getInstanceCount(); ++i)
    {
        kxVec3f translation(0, 0, 0), scale(1, 1, 1);
        kxQuatf rotation(1, 0, 0, 0);
        for (uint32_t c = 0; c < 3; ++c)
        {
            if (translations && i < translations->_count)
                translation[static_cast<int>(c)] = number(translations, i, c);
            if (scales && i < scales->_count)
                scale[static_cast<int>(c)] = number(scales, i, c);
        }
        if (rotations && i < rotations->_count)
            rotation = kxQuatf(number(rotations, i, 3), number(rotations, i, 0), number(rotations, i, 1),
                               number(rotations, i, 2));
        all.extendBy(transformBox(box, Math::composeMatrix(translation, rotation, scale)));
    }
    return all;
}

kxAABox boxOfTurns(const kxVec3f& center, const kxAABox& box)
{
    kxVec3f farthest;
    for (int axis = 0; axis < 3; ++axis)
        farthest[axis] = std::max(std::abs(box.min[axis] - center[axis]), std::abs(box.max[axis] - center[axis]));
    const kxVec3f radius(farthest.length());
    return {center - radius, center + radius};
}

} // namespace Kel::Sg
