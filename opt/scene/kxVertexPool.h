// Vertices of vertex data, with new ones between them, from which new vertex data are made.
#pragma once

#include "platform/attrs/kxGeometryAttr.h"

#include <vector>

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Points, lines or triangles one by one: strips, fans and loops taken apart, winding kept, repeated vertices left out.
struct kxPrimitives
{
    uint32_t size = 3; ///< vertices of each: 1, 2 or 3
    std::vector<uint32_t> vertices;

    /// False when an index lies outside of the vertices.
    bool read(const kxGeometryAttr& attr);
    size_t getCount() const { return vertices.size() / size; }
    /// What primitives of that size are as a mode.
    kxPrimitiveMode getMode() const;
};

/// The vertices of one vertex data by number, and behind them new ones that lie between two others. From any of them new
/// vertex data can be made, with all attributes and morph targets.
///
/// Attributes of a new vertex are interpolated: directions have length 1 again; the sign of a tangent, plain whole
/// numbers, and directions that cancel each other out are those of the nearer end. Positions that are whole numbers become floating-point ones when a vertex is added.
class kxVertexPool
{
public:
    /// False when the data have no positions of three numbers, or arrays of different lengths. No pool of such data works.
    static bool isUsable(const kxGeometryAttr& attr);

    kxVertexPool() = default;
    explicit kxVertexPool(const kxGeometryAttr& attr) { reset(attr); }
    /// Starts again with other vertex data, which must live as long as the pool or until the next call. Memory is kept: there
    /// may be very many small geometries.
    void reset(const kxGeometryAttr& attr);

    uint32_t getCount() const { return static_cast<uint32_t>(m_positions.size()); }
    const kxVec3f& getPosition(uint32_t vertex) const { return m_positions[vertex]; }
    /// Decodes the positions; `getCount` and `getPosition` know them from then on.
    void readPositions();

    /// Adds the vertex where the edge from `a` to `b` crosses the plane at `value` on an axis; the ends lie on both sides of
    /// it. Edges with ends in the same places give the same place, whatever way round and whatever vertices stand there.
    uint32_t addCrossing(uint32_t a, uint32_t b, int axis, float value);

    /// New vertex data of the primitives, holding just their vertices, in the order of use. Indices are of 16 bits where
    /// that is enough, of 8 bits only where they were before.
    kxSmartPointer<kxGeometryAttr> build(const kxPrimitives& primitives);
    /// Box around the vertices of the last data that were built.
    kxAABox findBuiltBox() const;

private:
    enum Kind : uint8_t
    {
        POSITION,
        LINEAR,
        DIRECTION,
        TANGENT,
        NEARER
    };
    struct Channel
    {
        const kxVertexArray* source = nullptr;
        Kind kind = LINEAR;
        bool becomesFloat = false; // once a vertex is added
        uint32_t bytes = 0;        // of an element of the source
        std::vector<uint8_t> added;
    };

    void addChannel(const kxVertexArray* array, bool isDisplacement);
    const uint8_t* elementOf(const Channel& channel, uint32_t vertex) const;
    void interpolate(Channel& channel, uint32_t a, uint32_t b, float way);
    template <size_t N>
    void gather(const Channel& channel, uint8_t* target) const;
    kxSmartPointer<kxVertexArray> buildArray(const Channel& channel) const;
    kxSmartPointer<kxVertexArray> buildIndices(const kxPrimitives& primitives);

    const kxGeometryAttr* m_attr = nullptr;
    uint32_t m_sourceCount = 0;
    const kxVertexArray* m_positionArray = nullptr;
    std::vector<Channel> m_channels; // arrays of the data, then those of the morph targets, then unused ones
    size_t m_channelCount = 0;
    std::vector<kxVec3f> m_positions;
    std::vector<uint32_t> m_newNumbers; // + 1, while vertex data are built
    std::vector<uint32_t> m_order;      // vertices of the data being built
};

} // namespace Kel::Opt
