#include "kxGeometryBuilder.h"

namespace Kel::Examples
{

void kxGeometryBuilder::setFrame(const kxPoint& origin, int quarterTurns)
{
    m_origin = origin;
    m_quarterTurns = quarterTurns & 3;
}

kxPoint kxGeometryBuilder::placed(const kxPoint& point) const
{
    kxPoint turned = point;
    for (int turn = 0; turn < m_quarterTurns; ++turn)
        turned = {turned.z, turned.y, -turned.x};
    return turned + m_origin;
}

void kxGeometryBuilder::addVertex(const kxPoint& point, const kxPoint& normal, double u, double v)
{
    for (const double value : {point.x, point.y, point.z})
        m_geometry.positions.push_back(static_cast<float>(onGrid(value, kPositionGrid)));
    for (const double value : {normal.x, normal.y, normal.z})
        m_geometry.normals.push_back(static_cast<float>(onGrid(value, kDirectionGrid)));
    m_geometry.uvs.push_back(static_cast<float>(onGrid(u, kTextureGrid)));
    m_geometry.uvs.push_back(static_cast<float>(onGrid(v, kTextureGrid)));
}

void kxGeometryBuilder::addTriangle(const kxPoint& a, const kxPoint& b, const kxPoint& c)
{
    const kxPoint corners[3] = {placed(a), placed(b), placed(c)};
    const kxPoint facing = cross(corners[1] - corners[0], corners[2] - corners[0]);
    if (dot(facing, facing) < 1e-12)
        return;
    const kxPoint normal = normalized(facing);
    const kxPoint along = normalized(corners[1] - corners[0]);
    const kxPoint up = cross(normal, along);
    const auto first = static_cast<uint32_t>(m_geometry.vertexCount());
    for (uint32_t corner = 0; corner < 3; ++corner)
    {
        const kxPoint fromFirst = corners[corner] - corners[0];
        addVertex(corners[corner], normal, dot(fromFirst, along), -dot(fromFirst, up));
        m_geometry.indices.push_back(first + corner);
    }
}

void kxGeometryBuilder::addQuad(const kxPoint& a, const kxPoint& b, const kxPoint& c, const kxPoint& d, bool stretch)
{
    const kxPoint corners[4] = {placed(a), placed(b), placed(c), placed(d)};
    const kxPoint facing = cross(corners[2] - corners[0], corners[3] - corners[1]);
    const kxPoint normal = normalized(facing);
    const kxPoint along = normalized(corners[1] - corners[0]);
    const kxPoint up = cross(normal, along);
    const auto first = static_cast<uint32_t>(m_geometry.vertexCount());
    const double stretched[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
    for (int corner = 0; corner < 4; ++corner)
    {
        const kxPoint fromFirst = corners[corner] - corners[0];
        if (stretch)
            addVertex(corners[corner], normal, stretched[corner][0], stretched[corner][1]);
        else
            addVertex(corners[corner], normal, dot(fromFirst, along), -dot(fromFirst, up));
    }
    for (const uint32_t corner : {0u, 1u, 2u, 0u, 2u, 3u})
        m_geometry.indices.push_back(first + corner);
}

void kxGeometryBuilder::addBox(const kxPoint& low, const kxPoint& high)
{
    addQuad({low.x, low.y, high.z}, {high.x, low.y, high.z}, {high.x, high.y, high.z}, {low.x, high.y, high.z});
    addQuad({high.x, low.y, low.z}, {low.x, low.y, low.z}, {low.x, high.y, low.z}, {high.x, high.y, low.z});
    addQuad({high.x, low.y, high.z}, {high.x, low.y, low.z}, {high.x, high.y, low.z}, {high.x, high.y, high.z});
    addQuad({low.x, low.y, low.z}, {low.x, low.y, high.z}, {low.x, high.y, high.z}, {low.x, high.y, low.z});
    addQuad({low.x, high.y, high.z}, {high.x, high.y, high.z}, {high.x, high.y, low.z}, {low.x, high.y, low.z});
    addQuad({low.x, low.y, low.z}, {high.x, low.y, low.z}, {high.x, low.y, high.z}, {low.x, low.y, high.z});
}

void kxGeometryBuilder::addExtrusion(const std::vector<kxOutlinePoint>& outline, double startX, double endX)
{
    const size_t count = outline.size();
    const auto at = [&](size_t index, double x) {
        return kxPoint{x, outline[index % count].up, outline[index % count].across};
    };
    for (size_t index = 0; index < count; ++index)
        addQuad(at(index, startX), at(index, endX), at(index + 1, endX), at(index + 1, startX));
    for (size_t index = 1; index + 1 < count; ++index)
    {
        addTriangle(at(0, endX), at(index + 1, endX), at(index, endX));
        addTriangle(at(0, startX), at(index, startX), at(index + 1, startX));
    }
}

void kxGeometryBuilder::addLathe(const std::vector<kxOutlinePoint>& profile, int sides, bool capped, double phase)
{
    const auto at = [&](const kxOutlinePoint& point, int side)
    {
        const double turns = phase + static_cast<double>(side % sides) / sides;
        return kxPoint{point.across * sineOfTurns(turns), point.up, point.across * cosineOfTurns(turns)};
    };
    for (int side = 0; side < sides; ++side)
    {
        for (size_t ring = 0; ring + 1 < profile.size(); ++ring)
        {
            const kxOutlinePoint& low = profile[ring];
            const kxOutlinePoint& high = profile[ring + 1];
            if (low.across <= 0)
                addTriangle(at(low, side), at(high, side + 1), at(high, side));
            else if (high.across <= 0)
                addTriangle(at(low, side), at(low, side + 1), at(high, side));
            else
                addQuad(at(low, side), at(low, side + 1), at(high, side + 1), at(high, side));
        }
        if (capped && profile.front().across > 0)
            addTriangle({0, profile.front().up, 0}, at(profile.front(), side + 1), at(profile.front(), side));
        if (capped && profile.back().across > 0)
            addTriangle({0, profile.back().up, 0}, at(profile.back(), side), at(profile.back(), side + 1));
    }
}

void kxGeometryBuilder::addLump(const kxPoint& centre, const kxPoint& radius, int rings, int sides, double roughness,
                                kxMakerRandom& random)
{
    std::vector<kxPoint> points;
    for (int ring = 0; ring <= rings; ++ring)
    {
        const double height = -cosineOfTurns(0.5 * ring / rings);
        const double width = sineOfTurns(0.5 * ring / rings);
        for (int side = 0; side < sides; ++side)
        {
            const double turns = (side + (ring % 2) * 0.5) / sides;
            const bool isPole = ring == 0 || ring == rings;
            const double size = isPole ? 1.0 : random.between(1.0 - roughness, 1.0 + roughness);
            points.push_back(centre + kxPoint{radius.x * width * sineOfTurns(turns) * size, radius.y * height * size,
                                              radius.z * width * cosineOfTurns(turns) * size});
        }
    }
    const auto at = [&](int ring, int side)
    { return points[static_cast<size_t>(ring) * static_cast<size_t>(sides) + static_cast<size_t>(side % sides)]; };
    for (int ring = 0; ring < rings; ++ring)
        for (int side = 0; side < sides; ++side)
        {
            // Every second ring stands half a side further: the diagonals alternate with it.
            const int shift = ring % 2;
            addTriangle(at(ring, side), at(ring, side + 1), at(ring + 1, side + shift));
            addTriangle(at(ring, side + 1 - shift), at(ring + 1, side + 1), at(ring + 1, side));
        }
}

kxSceneGeometry kxGeometryBuilder::take(std::string name)
{
    kxSceneGeometry taken = std::move(m_geometry);
    taken.name = std::move(name);
    m_geometry = {};
    return taken;
}

} // namespace Kel::Examples
