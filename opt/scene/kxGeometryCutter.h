// Takes the parts of a geometry that lie within boxes out of it.
#pragma once

#include "opt/scene/kxVertexPool.h"
#include "platform/sg/kxBoundingBoxesMaker.h"

#include <memory>

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Cuts one geometry, box by box. What lies within a box is taken out as a new geometry with the same attributes; triangles
/// and lines that cross its walls are cut there, and their other parts stay. Something that lies on a wall is within the first
/// box that has the wall, so that nothing is taken twice.
///
/// Pieces fit together: both sides of an edge that a wall cuts get vertices in the very same place, exactly on the wall.
/// Triangles that no wall crosses keep their vertices bit for bit.
///
/// Cost: one look at each primitive left for each box, and the writing of the pieces.
class kxGeometryCutter
{
public:
    /// Null when the geometry can be cut, otherwise why it cannot: it has children, is driven from outside, has
    /// vertices that move by bones or morph targets, or draws other things beside its vertex data.
    static const char* findObstacle(const kxGeometry* geometry);

    /// Prepares a geometry that has no obstacle. False when its data are broken: indices that name no vertex, positions that
    /// are no numbers or too large to calculate with; it stays as it is. `boxes` may be null; it is told the boxes of the
    /// pieces, which are found on the way.
    bool open(kxGeometry* geometry, kxBoundingBoxesMaker* boxes = nullptr);
    kxGeometry* getGeometry() const { return m_geometry; }
    /// The part within a box; null when there is none. The geometry itself stays as it was until `close`.
    kxSmartPointer<kxGeometry> take(const kxAABox& box, kxMemoryPool& pool);
    /// True when all has been taken.
    bool isEmpty() const;
    /// Leaves the geometry with what has not been taken.
    void close();

private:
    /// Vertices where walls cross edges, by edge and wall. Open addressing: there is one for each small geometry.
    class Crossings
    {
    public:
        /// The place of a vertex, `kNone` until it is set; valid until the next call.
        uint32_t& find(uint64_t ends, uint64_t wall);
        static constexpr uint32_t kNone = UINT32_MAX;
        void clear();

    private:
        struct Slot
        {
            uint64_t ends = 0; // 0: free, which no edge has
            uint64_t wall = 0;
            uint32_t vertex = kNone;
        };
        Slot& slotOf(uint64_t ends, uint64_t wall);

        std::vector<Slot> m_slots;
        size_t m_used = 0;
    };
    struct Part
    {
        kxSmartPointer<kxGeometryAttr> source;
        kxVertexPool pool;
        kxPrimitives left;
        size_t wholeSize = 0; // of `left` in the beginning
        bool touched = false;
        Crossings crossings;

        /// False when the data are broken. Memory is kept from one geometry to the next.
        bool open(kxGeometryAttr* attr);
    };
    using Corners = std::vector<uint32_t>;

    void findSides(const kxVertexPool& pool, const kxAABox& box);
    template <uint32_t size>
    bool takePrimitives(Part& part, const kxAABox& box);
    kxSmartPointer<kxGeometryAttr> takePart(Part& part, const kxAABox& box);
    kxSmartPointer<kxGeometryAttr> build(Part& part, const kxPrimitives& primitives);
    bool cutPrimitive(Part& part, const kxAABox& box, const uint32_t* vertices);
    void splitAtWall(Part& part, int axis, float wall, bool keepsBelow);
    uint32_t crossingOf(Part& part, uint32_t a, uint32_t b, int axis, float wall);

    kxSmartPointer<kxGeometry> m_geometry;
    std::vector<std::unique_ptr<Part>> m_parts; // those of the geometry, then unused ones
    size_t m_partCount = 0;
    kxBoundingBoxesMaker* m_boxes = nullptr;
    kxPrimitives m_taken;
    std::vector<uint32_t> m_kept;
    std::vector<uint16_t> m_sides;       // of the vertices, in respect of the box
    Corners m_inside, m_outside, m_next; // of the primitive that is cut
    std::vector<uint32_t> m_cutOff;      // what was cut off it, as primitives
};

} // namespace Kel::Opt
