#ifndef KX_PLACEMENTS_H
#define KX_PLACEMENTS_H

#include "kxMakerMath.h"
#include "kxSceneMaker.h"

namespace Kel::Examples
{

/// A plain group: no transform at all.
inline kxPlacement unplaced()
{
    return {};
}

inline kxPlacement placedAt(const kxPoint& position)
{
    kxPlacement where;
    where.kind = kxTransformKind::TRANSLATION;
    where.values = {static_cast<float>(onGrid(position.x, kPositionGrid)),
                    static_cast<float>(onGrid(position.y, kPositionGrid)),
                    static_cast<float>(onGrid(position.z, kPositionGrid))};
    return where;
}

inline kxPlacement placed(const kxPoint& position, const kxRotation& rotation, const kxPoint& scale = {1, 1, 1})
{
    kxPlacement where = placedAt(position);
    where.kind = kxTransformKind::TRS;
    size_t index = 3;
    for (const double value : {rotation.x, rotation.y, rotation.z, rotation.w})
        where.values[index++] = static_cast<float>(onGrid(value, kDirectionGrid));
    for (const double value : {scale.x, scale.y, scale.z})
        where.values[index++] = static_cast<float>(onGrid(value, kPositionGrid));
    return where;
}

/// The same transform said as a matrix.
inline kxPlacement asMatrix(const kxPlacement& where)
{
    kxScenePlan plan;
    plan.addNode(-1, "", where);
    const std::array<double, 16> matrix = plan.localMatrix(0);
    kxPlacement same;
    same.kind = kxTransformKind::MATRIX;
    for (size_t index = 0; index < 16; ++index)
        same.values[index] = static_cast<float>(onGrid(matrix[index], kDirectionGrid));
    return same;
}

/// An identity that is spelled out, as exporters like to do: as a translation, in full or as a matrix.
inline kxPlacement spelledIdentity(kxTransformKind kind)
{
    kxPlacement where = placed({0, 0, 0}, {});
    if (kind == kxTransformKind::MATRIX)
        return asMatrix(where);
    where.kind = kind;
    return where;
}

inline kxRotation quarterTurns(uint32_t count)
{
    return rotationAbout({0, 1, 0}, 0.25 * (count & 3));
}

} // namespace Kel::Examples

#endif
