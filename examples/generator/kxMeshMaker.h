// Meshes of several materials, and surfaces of grids.
#ifndef KX_MESH_MAKER_H
#define KX_MESH_MAKER_H

#include "kxGeometryBuilder.h"
#include "kxSceneMaker.h"

#include <utility>
#include <vector>

namespace Kel::Examples
{

/// A mesh in the making: one builder per material.
class kxMeshMaker
{
public:
    kxGeometryBuilder& of(int32_t material)
    {
        for (auto& [known, builder] : m_parts)
            if (known == material)
                return builder;
        m_parts.emplace_back(material, kxGeometryBuilder());
        m_parts.back().second.setFrame(m_origin, m_quarterTurns);
        return m_parts.back().second;
    }

    void setFrame(const kxPoint& origin, int quarterTurns = 0)
    {
        m_origin = origin;
        m_quarterTurns = quarterTurns;
        for (auto& [material, builder] : m_parts)
            builder.setFrame(origin, quarterTurns);
    }

    /// Adds the mesh to the scene and starts over.
    void finish(kxScene& scene, const std::string& name)
    {
        kxSceneMesh mesh{name, {}};
        for (auto& [material, builder] : m_parts)
        {
            mesh.primitives.push_back({static_cast<int32_t>(scene.geometries.size()), material});
            scene.geometries.push_back(builder.take(name));
        }
        scene.meshes.push_back(std::move(mesh));
        *this = {};
    }

private:
    std::vector<std::pair<int32_t, kxGeometryBuilder>> m_parts;
    kxPoint m_origin;
    int m_quarterTurns = 0;
};

/// Adds a vertex that shares its normal with the faces around it.
void addSmoothVertex(kxSceneGeometry& geometry, const kxPoint& point, const kxPoint& normal, double u, double v);

/// Two triangles for each cell of a grid of `columns` by `rows` vertices, rows one after another. The front is where
/// columns run to the right and rows run up.
void addGridIndices(kxSceneGeometry& geometry, uint32_t columns, uint32_t rows);

/// Adds a mesh of one geometry.
void addSingle(kxScene& scene, kxSceneGeometry geometry, int32_t material);

} // namespace Kel::Examples

#endif
