// What vertex data cover, however they are cut into pieces.
#pragma once

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/attrs/kxVertexBlendMatrixListAttr.h"

#include <map>
#include <utility>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Integrals over all that vertex data draw: over the surface of triangles, the length of lines, the number of points. They
/// add up: cutting triangles, or dealing them out to several vertex data, changes no sum as long as the new vertices
/// interpolate the old ones. Moving, losing, doubling or turning round a piece changes some.
class kxSurface
{
public:
    /// Measures vertex data. `palette` is the palette of matrices in effect, null when there is none: bones are told apart by
    /// what the palette says of them, so that palettes can be renumbered. False for data without usable positions.
    /// `variants` is a hash of whatever else must be equal for two surfaces to be comparable.
    bool measure(const kxGeometryAttr& attr, const kxVertexBlendMatrixListAttr* palette, uint64_t variants);

    /// Adds another surface, which has the same form.
    void add(const kxSurface& other);
    /// Hash of what must be equal for surfaces to be comparable: the kind of primitives, the attributes and their sizes.
    uint64_t getForm() const { return m_form; }
    /// True when both cover the same within 1e-5 of their size, attributes within 1e-3 of their range. Directions may differ
    /// by more, because those of new vertices have length 1 and so do not add up. Where one of the two has more primitives,
    /// and so has been cut, attributes that are kept in whole numbers may be off by one step of the coarser of the two as well
    /// (directions by two: length 1 is made good first, in other numbers), because those of new vertices are rounded;
    /// floating-point numbers have no steps. Plain numbers, such as those of features, must have the same range and cover the
    /// same places; how a primitive is shared out whose vertices have different ones is not looked at.
    bool isAlike(const kxSurface& other) const;

    double getArea() const { return m_channels.empty() ? 0 : m_channels[0].sums[0]; }

private:
    /// One number of each vertex: the first channel is 1 everywhere, the next three are the position.
    struct Channel
    {
        double sums[4] = {0, 0, 0, 0}; // of the number, and of it times x, y and z
        float low = 0, high = 0;
        float tolerance = 0; // of a mean, as a part of the range
        float step = 0;      // of the numbers that the attribute is kept in; 0 for floating point
        uint32_t first = 0;  // channel of the first number of the same attribute
    };

    void measureNumbers(const kxVertexArray& array);
    void measureBones(const kxGeometryAttr& attr, const kxVertexBlendMatrixListAttr* palette);
    double rangeOf(const Channel& channel) const;
    template <class Value>
    void integrate(Channel& channel, Value value) const;
    void addChannel(const std::vector<float>& values, uint32_t stride, uint32_t component, float tolerance, float step);

    uint64_t m_form = 0;
    bool m_isEmpty = true;
    std::vector<Channel> m_channels;
    double m_facing[3] = {0, 0, 0};        // sum of the triangles' normals by area: turns round with them
    std::map<uint64_t, Channel> m_bones;   // weights of each bone; looked up by what it is
    float m_weightStep = 0;                // as in Channel, of the weights
    std::map<uint64_t, Channel> m_numbers; // what is covered by each plain number of each attribute
    std::map<uint64_t, std::pair<float, float>> m_numberRanges; // smallest and largest of each component
    double m_mixedArea = 0;                                     // of primitives with different numbers
    uint64_t m_primitiveCount = 0;

    // While vertex data are measured.
    uint32_t m_size = 3;
    std::vector<uint32_t> m_vertices;
    std::vector<double> m_extents; // of each primitive: area, length or 1
    std::vector<float> m_positions;
};

} // namespace Kel::Opt
