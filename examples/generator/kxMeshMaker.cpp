#include "kxMeshMaker.h"

namespace Kel::Examples
{

void addSmoothVertex(kxSceneGeometry& geometry, const kxPoint& point, const kxPoint& normal, double u, double v)
{
    for (const double value : {point.x, point.y, point.z})
        geometry.positions.push_back(static_cast<float>(onGrid(value, kPositionGrid)));
    for (const double value : {normal.x, normal.y, normal.z})
        geometry.normals.push_back(static_cast<float>(onGrid(value, kDirectionGrid)));
    geometry.uvs.push_back(static_cast<float>(onGrid(u, kTextureGrid)));
    geometry.uvs.push_back(static_cast<float>(onGrid(v, kTextureGrid)));
}

void addGridIndices(kxSceneGeometry& geometry, uint32_t columns, uint32_t rows)
{
    for (uint32_t row = 0; row + 1 < rows; ++row)
        for (uint32_t column = 0; column + 1 < columns; ++column)
        {
            const uint32_t corner = row * columns + column;
            for (const uint32_t index :
                 {corner, corner + 1, corner + columns + 1, corner, corner + columns + 1, corner + columns})
                geometry.indices.push_back(index);
        }
}

void addSingle(kxScene& scene, kxSceneGeometry geometry, int32_t material)
{
    scene.meshes.push_back({geometry.name, {{static_cast<int32_t>(scene.geometries.size()), material}}});
    scene.geometries.push_back(std::move(geometry));
}

} // namespace Kel::Examples
