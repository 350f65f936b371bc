#ifndef KX_GEOMETRY_BUILDER_H
#define KX_GEOMETRY_BUILDER_H

#include "kxMakerMath.h"
#include "kxSceneMaker.h"

namespace Kel::Examples
{

/// A point of an outline or of a profile.
struct kxOutlinePoint
{
    double across = 0; // the radius of a profile, z in an extrusion
    double up = 0;
};

/// Puts flat-shaded solids together, in metres, with one metre of surface per texture tile.
///
/// Everything added goes through the current frame: quarter turns about y, then an offset. All solids are closed unless
/// said otherwise, with their front faces outside.
class kxGeometryBuilder
{
public:
    void setFrame(const kxPoint& origin, int quarterTurns = 0);

    /// A triangle seen counter-clockwise from its front.
    void addTriangle(const kxPoint& a, const kxPoint& b, const kxPoint& c);

    /// A flat quad seen counter-clockwise from its front; the texture runs along from `a` to `b` and up from `a` to
    /// `d`. With `stretch` the quad shows the whole texture once.
    void addQuad(const kxPoint& a, const kxPoint& b, const kxPoint& c, const kxPoint& d, bool stretch = false);

    void addBox(const kxPoint& low, const kxPoint& high);

    /// A convex outline drawn out along x; it runs counter-clockwise as seen from -x, where z points to the right.
    void addExtrusion(const std::vector<kxOutlinePoint>& outline, double startX, double endX);

    /// A profile from bottom to top turned about y. Open at a first or last radius above 0 unless `capped`.
    void addLathe(const std::vector<kxOutlinePoint>& profile, int sides, bool capped = false, double phase = 0.0);

    /// A lump of rock or leaves: a ball of `rings` by `sides` faces whose points are moved by up to `roughness` of the
    /// radius.
    void addLump(const kxPoint& centre, const kxPoint& radius, int rings, int sides, double roughness,
                 kxMakerRandom& random);

    const kxSceneGeometry& geometry() const { return m_geometry; }
    kxSceneGeometry take(std::string name);

private:
    kxPoint placed(const kxPoint& point) const;
    void addVertex(const kxPoint& point, const kxPoint& normal, double u, double v);

    kxSceneGeometry m_geometry;
    kxPoint m_origin;
    int m_quarterTurns = 0;
};

} // namespace Kel::Examples

#endif
