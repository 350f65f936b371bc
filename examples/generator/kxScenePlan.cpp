#include "kxMakerMath.h"
#include "kxSceneMaker.h"

namespace Kel::Examples
{

size_t kxPlacement::valueCount(kxTransformKind kind)
{
    switch (kind)
    {
    case kxTransformKind::TRANSLATION: return 3;
    case kxTransformKind::TRS: return 10;
    case kxTransformKind::MATRIX: return 16;
    case kxTransformKind::NONE: break;
    }
    return 0;
}

std::string_view kxScenePlan::name(size_t node) const
{
    const size_t start = node == 0 ? 0 : m_nameEnds[node - 1];
    return std::string_view(m_nameBytes).substr(start, m_nameEnds[node] - start);
}

kxPlacement kxScenePlan::placement(size_t node) const
{
    kxPlacement where;
    where.kind = m_kinds[node];
    for (size_t index = 0; index < kxPlacement::valueCount(where.kind); ++index)
        where.values[index] = m_values[m_valueStarts[node] + index];
    return where;
}

std::array<double, 16> kxScenePlan::localMatrix(size_t node) const
{
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const kxPlacement where = placement(node);
    const std::array<float, 16>& v = where.values;
    if (where.kind == kxTransformKind::MATRIX)
    {
        for (size_t index = 0; index < 16; ++index)
            matrix[index] = v[index];
        return matrix;
    }
    if (where.kind == kxTransformKind::NONE)
        return matrix;
    for (size_t axis = 0; axis < 3; ++axis)
        matrix[12 + axis] = v[axis];
    if (where.kind == kxTransformKind::TRANSLATION)
        return matrix;

    const double x = v[3], y = v[4], z = v[5], w = v[6];
    const double rotation[9] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w),     2 * (x * z - y * w),
                                2 * (x * y - z * w),     1 - 2 * (x * x + z * z), 2 * (y * z + x * w),
                                2 * (x * z + y * w),     2 * (y * z - x * w),     1 - 2 * (x * x + y * y)};
    for (size_t column = 0; column < 3; ++column)
        for (size_t row = 0; row < 3; ++row)
            matrix[column * 4 + row] = rotation[column * 3 + row] * v[7 + column];
    return matrix;
}

int32_t kxScenePlan::addNode(int32_t parentNode, std::string_view nodeName, const kxPlacement& where, int32_t meshIndex,
                             int32_t materialIndex)
{
    parent.push_back(parentNode);
    mesh.push_back(meshIndex);
    material.push_back(materialIndex);
    m_kinds.push_back(where.kind);
    m_valueStarts.push_back(static_cast<uint32_t>(m_values.size()));
    m_values.insert(m_values.end(), where.values.begin(),
                    where.values.begin() + static_cast<std::ptrdiff_t>(kxPlacement::valueCount(where.kind)));
    m_nameBytes += nodeName;
    m_nameEnds.push_back(static_cast<uint32_t>(m_nameBytes.size()));
    return static_cast<int32_t>(parent.size() - 1);
}

void kxScenePlan::reserve(size_t nodeCount)
{
    parent.reserve(nodeCount);
    mesh.reserve(nodeCount);
    material.reserve(nodeCount);
    m_kinds.reserve(nodeCount);
    m_valueStarts.reserve(nodeCount);
    m_nameEnds.reserve(nodeCount);
}

} // namespace Kel::Examples
