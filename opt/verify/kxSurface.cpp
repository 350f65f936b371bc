#include "opt/verify/kxSurface.h"

#include "opt/verify/kxPictureHash.h"
#include "platform/core/kxReport.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace Kel::Opt
{

namespace
{

constexpr float kPositionTolerance = 1e-5f;
constexpr float kValueTolerance = 1e-3f;
// Half way between two directions the interpolated one is shorter than 1, by this much at 50 degrees.
constexpr float kDirectionTolerance = 0.1f;

// Winding kept, as drawn. False when an index lies outside.
bool readPrimitives(const kxGeometryAttr& attr, int64_t vertexCount, uint32_t& size, std::vector<uint32_t>& vertices)
{
    std::vector<uint32_t> order;
    for (int64_t i = 0, count = attr._indices ? attr._indices->_count : vertexCount; i < count; ++i)
    {
        order.push_back(attr._indices ? attr._indices->getIndex(i) : static_cast<uint32_t>(i));
        if (order.back() >= vertexCount)
            return false;
    }
    const kxPrimitiveMode mode = attr._primitiveMode;
    size = mode == kxPrimitiveMode::POINTS ? 1 : mode <= kxPrimitiveMode::LINE_STRIP ? 2 : 3;
    const size_t n = order.size();
    const bool isPlain =
        mode == kxPrimitiveMode::POINTS || mode == kxPrimitiveMode::LINES || mode == kxPrimitiveMode::TRIANGLES;
    if (isPlain)
    {
        order.resize(n - n % size);
        vertices = std::move(order);
        return true;
    }
    for (size_t i = size - 1; i < n; ++i)
        if (mode == kxPrimitiveMode::TRIANGLE_FAN)
            vertices.insert(vertices.end(), {order[0], order[i - 1], order[i]});
        else if (mode == kxPrimitiveMode::TRIANGLE_STRIP)
            vertices.insert(vertices.end(), {order[i - 2], order[i % 2 ? i : i - 1], order[i % 2 ? i - 1 : i]});
        else
            vertices.insert(vertices.end(), {order[i - 1], order[i]});
    if (mode == kxPrimitiveMode::LINE_LOOP && n > 2)
        vertices.insert(vertices.end(), {order[n - 1], order[0]});
    return true;
}

std::vector<float> decode(const kxVertexArray& array)
{
    const uint32_t components = array._componentCount;
    std::vector<float> values(static_cast<size_t>(array._count) * components);
    for (int64_t i = 0; i < array._count; ++i)
        if (array._componentType == kxComponentType::FLOAT32 && !array._matrix)
            std::memcpy(&values[static_cast<size_t>(i) * components], array.getElement(i), components * sizeof(float));
        else
            for (uint32_t c = 0; c < components; ++c)
                values[static_cast<size_t>(i) * components + c] = static_cast<float>(array.getComponent(i, c));
    for (float& value : values)
        value = std::isfinite(value) ? value : 0;
    return values;
}

// How far a mean of the values may be off; 0 for plain numbers that nothing interpolates.
float toleranceOf(const kxVertexArray& array)
{
    const std::string_view use = array._semantic.view();
    if (use == "NORMAL" || use == "TANGENT")
        return kDirectionTolerance;
    const bool isWhole = array._componentType != kxComponentType::FLOAT32 && !array._normalized;
    const bool isKnown = use == "POSITION" || use.substr(0, 9) == "TEXCOORD_" || use.substr(0, 6) == "COLOR_";
    return array._matrix || (isWhole && !isKnown) ? 0 : kValueTolerance;
}

// From one number that the array can hold to the next; 0 for floating point, whose steps are below all tolerances.
float stepOf(const kxVertexArray& array)
{
    switch (array._componentType)
    {
    case kxComponentType::FLOAT32: return 0;
    case kxComponentType::INT8: return array._normalized ? 1 / 127.0f : 1;
    case kxComponentType::UINT8: return array._normalized ? 1 / 255.0f : 1;
    case kxComponentType::INT16: return array._normalized ? 1 / 32767.0f : 1;
    case kxComponentType::UINT16: return array._normalized ? 1 / 65535.0f : 1;
    default: return array._normalized ? 0 : 1;
    }
}

bool isOfBones(const kxVertexArray& array)
{
    return array._semantic.view().substr(0, 7) == "JOINTS_" || array._semantic.view().substr(0, 8) == "WEIGHTS_";
}

} // namespace

// Sums of `value(corner)` and of its products with the position. Both are linear over a primitive, so their product is known
// exactly from the corners.
template <class Value>
void kxSurface::integrate(Channel& channel, Value value) const
{
    const double divisor = m_size == 3 ? 12 : m_size == 2 ? 6 : 2;
    for (size_t primitive = 0; primitive < m_extents.size(); ++primitive)
    {
        double sum = 0, ownProducts[3] = {0, 0, 0}, positionSums[3] = {0, 0, 0};
        for (uint32_t c = 0; c < m_size; ++c)
        {
            const size_t corner = primitive * m_size + c;
            const double number = value(corner);
            sum += number;
            const float* position = &m_positions[size_t(m_vertices[corner]) * 3];
            for (int axis = 0; axis < 3; ++axis)
            {
                ownProducts[axis] += number * position[axis];
                positionSums[axis] += position[axis];
            }
        }
        const double extent = m_extents[primitive];
        channel.sums[0] += extent * sum / m_size;
        for (int axis = 0; axis < 3; ++axis)
            channel.sums[1 + axis] += extent / divisor * (ownProducts[axis] + sum * positionSums[axis]);
    }
}

void kxSurface::addChannel(const std::vector<float>& values, uint32_t stride, uint32_t component, float tolerance,
                           float step)
{
    Channel& channel = m_channels.emplace_back();
    channel.tolerance = tolerance;
    channel.step = step;
    channel.first = static_cast<uint32_t>(m_channels.size()) - 1 - component;
    auto at = [&](size_t corner) { return values[size_t(m_vertices[corner]) * stride + component]; };
    if (!m_vertices.empty())
        channel.low = channel.high = at(0);
    for (size_t corner = 0; corner < m_vertices.size(); ++corner)
    {
        channel.low = std::min(channel.low, at(corner));
        channel.high = std::max(channel.high, at(corner));
    }
    integrate(channel, at);
}

bool kxSurface::measure(const kxGeometryAttr& attr, const kxVertexBlendMatrixListAttr* palette, uint64_t variants)
{
    static const kxStringRef kPosition("POSITION");
    const kxVertexArray* positions = attr.getArray(kPosition);
    std::string fault;
    if (!positions || positions->_componentCount != 3 || positions->_matrix || positions->_count > UINT32_MAX / 2)
        return false;
    auto isUsable = [&](const kxVertexArray* array)
    { return array && array->_count == positions->_count && array->userCheckLoaded(fault); };
    for (const kxVertexArray* array : *attr._arrays)
        if (!isUsable(array))
            return false;
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                if (!isUsable(array))
                    return false;
    if ((attr._indices && !attr._indices->userCheckLoaded(fault)) ||
        !readPrimitives(attr, positions->_count, m_size, m_vertices))
        return false;

    m_positions = decode(*positions);
    m_extents.resize(m_vertices.size() / m_size);
    for (size_t i = 0; i < m_extents.size(); ++i)
    {
        auto corner = [&](size_t c)
        {
            const float* p = &m_positions[size_t(m_vertices[i * m_size + c]) * 3];
            return kxVec3d(p[0], p[1], p[2]);
        };
        m_extents[i] = 1;
        if (m_size == 2)
            m_extents[i] = (corner(1) - corner(0)).length();
        if (m_size == 3)
        {
            const kxVec3d facing = (corner(1) - corner(0)).cross(corner(2) - corner(0)) * 0.5;
            m_extents[i] = facing.length();
            for (int axis = 0; axis < 3; ++axis)
                m_facing[axis] += facing[axis];
        }
    }

    m_form = combineHash(variants, m_size);
    m_isEmpty = m_vertices.empty();
    m_primitiveCount = m_extents.size();
    integrate(m_channels.emplace_back(), [](size_t) { return 1.0; });
    for (uint32_t axis = 0; axis < 3; ++axis)
        // Positions of new vertices are not rounded: they become floating-point numbers.
        addChannel(m_positions, 3, axis, kPositionTolerance, 0);
    auto addArray = [&](const kxVertexArray& array)
    {
        m_form = combineHash(m_form, array._semantic.getHash());
        m_form = combineHash(m_form, array._componentCount);
        const float tolerance = toleranceOf(array);
        if (isOfBones(array))
            return;
        if (tolerance == 0)
            return measureNumbers(array);
        const std::vector<float> values = decode(array);
        for (uint32_t c = 0; c < array._componentCount; ++c)
            addChannel(values, array._componentCount, c, tolerance, stepOf(array));
    };
    for (const kxVertexArray* array : *attr._arrays)
        if (array != positions)
            addArray(*array);
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                addArray(*array);
    measureBones(attr, palette);
    m_vertices = {};
    m_extents = {};
    m_positions = {};
    return true;
}

void kxSurface::measureNumbers(const kxVertexArray& array)
{
    const std::vector<float> values = decode(array);
    for (uint32_t component = 0; component < array._componentCount; ++component)
    {
        const uint64_t use = combineHash(m_form, component); // the form has the attributes up to this one
        for (const uint32_t vertex : m_vertices)
        {
            const float value = values[size_t(vertex) * array._componentCount + component];
            const auto [range, isNew] = m_numberRanges.try_emplace(use, value, value);
            range->second = {std::min(range->second.first, value), std::max(range->second.second, value)};
        }
        for (size_t primitive = 0; primitive < m_extents.size(); ++primitive)
        {
            const uint32_t* corners = &m_vertices[primitive * m_size];
            const auto valueAt = [&](uint32_t corner)
            { return values[size_t(corners[corner]) * array._componentCount + component]; };
            bool isMixed = false;
            for (uint32_t c = 1; c < m_size; ++c)
                isMixed |= valueAt(c) != valueAt(0);
            const double extent = m_extents[primitive];
            if (isMixed)
            {
                m_mixedArea += extent;
                continue;
            }
            Channel& channel = m_numbers[combineHash(use, std::bit_cast<uint32_t>(valueAt(0)))];
            channel.sums[0] += extent;
            for (uint32_t c = 0; c < m_size; ++c)
                for (size_t axis = 0; axis < 3; ++axis)
                    channel.sums[1 + axis] += extent / m_size * m_positions[size_t(corners[c]) * 3 + axis];
        }
    }
}

void kxSurface::measureBones(const kxGeometryAttr& attr, const kxVertexBlendMatrixListAttr* palette)
{
    auto nameOf = [&](uint32_t bone) -> uint64_t
    {
        if (!palette || bone >= palette->getMatrixCount())
            return bone;
        const kxMatrix44f matrix = palette->_matrices->get(bone);
        const uint64_t driver =
            bone < palette->_boneIndices->getCount() ? static_cast<uint64_t>(palette->_boneIndices->get(bone)) : 0;
        return hashBytes(matrix.getValue(), sizeof(float) * 16, driver + 1);
    };
    for (uint32_t set = 0;; ++set)
    {
        const kxVertexArray* joints = attr.getArray(kxStringRef(kxFormat("JOINTS_%u", set)));
        const kxVertexArray* weights = attr.getArray(kxStringRef(kxFormat("WEIGHTS_%u", set)));
        if (!joints || !weights || joints->_componentCount != weights->_componentCount)
            return;
        m_weightStep = std::max(m_weightStep, stepOf(*weights));
        const std::vector<float> bones = decode(*joints), shares = decode(*weights);
        const uint32_t components = joints->_componentCount;
        // Each bone's weight is a number of every vertex; only the primitives that it touches count.
        const auto vertices = m_vertices;
        const auto extents = m_extents;
        std::map<uint32_t, std::vector<size_t>> primitivesOf;
        for (size_t corner = 0; corner < vertices.size(); ++corner)
            for (uint32_t c = 0; c < components; ++c)
                if (shares[size_t(vertices[corner]) * components + c] != 0)
                {
                    auto& list = primitivesOf[static_cast<uint32_t>(bones[size_t(vertices[corner]) * components + c])];
                    if (list.empty() || list.back() != corner / m_size)
                        list.push_back(corner / m_size);
                }
        for (const auto& [bone, primitives] : primitivesOf)
        {
            m_vertices.clear();
            m_extents.clear();
            for (const size_t primitive : primitives)
            {
                m_extents.push_back(extents[primitive]);
                for (uint32_t c = 0; c < m_size; ++c)
                    m_vertices.push_back(vertices[primitive * m_size + c]);
            }
            integrate(m_bones[nameOf(bone)],
                      [&, wanted = static_cast<float>(bone)](size_t corner)
                      {
                          double weight = 0;
                          for (uint32_t c = 0; c < components; ++c)
                          {
                              const size_t at = size_t(m_vertices[corner]) * components + c;
                              weight += bones[at] == wanted ? shares[at] : 0;
                          }
                          return weight;
                      });
        }
        m_vertices = vertices;
        m_extents = extents;
    }
}

void kxSurface::add(const kxSurface& other)
{
    m_form = other.m_form;
    m_channels.resize(other.m_channels.size());
    for (size_t i = 0; i < m_channels.size(); ++i)
    {
        Channel& mine = m_channels[i];
        const Channel& theirs = other.m_channels[i];
        for (int k = 0; k < 4; ++k)
            mine.sums[k] += theirs.sums[k];
        if (!other.m_isEmpty)
        {
            mine.low = m_isEmpty ? theirs.low : std::min(mine.low, theirs.low);
            mine.high = m_isEmpty ? theirs.high : std::max(mine.high, theirs.high);
        }
        mine.tolerance = theirs.tolerance;
        mine.step = std::max(mine.step, theirs.step);
        mine.first = theirs.first;
    }
    m_isEmpty &= other.m_isEmpty;
    m_primitiveCount += other.m_primitiveCount;
    m_mixedArea += other.m_mixedArea;
    for (const auto& [use, theirs] : other.m_numberRanges)
    {
        const auto [mine, isNew] = m_numberRanges.try_emplace(use, theirs);
        mine->second = {std::min(mine->second.first, theirs.first), std::max(mine->second.second, theirs.second)};
    }
    for (const auto& [number, channel] : other.m_numbers)
        for (int k = 0; k < 4; ++k)
            m_numbers[number].sums[k] += channel.sums[k];
    m_weightStep = std::max(m_weightStep, other.m_weightStep);
    for (const auto& [bone, channel] : other.m_bones)
        for (int k = 0; k < 4; ++k)
            m_bones[bone].sums[k] += channel.sums[k];
    for (int axis = 0; axis < 3; ++axis)
        m_facing[axis] += other.m_facing[axis];
}

// Of directions all numbers count together: where they differ by little from an axis, their numbers along it differ by much
// less, and length 1 is made good there.
double kxSurface::rangeOf(const Channel& channel) const
{
    double range = double(channel.high) - channel.low;
    if (channel.tolerance == kDirectionTolerance)
        for (size_t i = channel.first; i < std::min<size_t>(channel.first + 3, m_channels.size()); ++i)
            range = std::max(range, double(m_channels[i].high) - m_channels[i].low);
    return std::max(range, 1e-3);
}

bool kxSurface::isAlike(const kxSurface& other) const
{
    if (m_form != other.m_form || m_channels.size() != other.m_channels.size())
        return false;
    if (m_channels.size() < 4)
        return true;
    const double area = std::max(getArea(), other.getArea());
    auto isNear = [&](double a, double b, double slack) { return !(std::abs(a - b) > slack); };
    if (!isNear(getArea(), other.getArea(), area * kPositionTolerance))
        return false;
    double size = 0; // largest extent
    for (int axis = 1; axis <= 3; ++axis)
        size = std::max(size, double(m_channels[static_cast<size_t>(axis)].high) -
                                  double(m_channels[static_cast<size_t>(axis)].low));
    // What is far from the origin is known less exactly than what is near to it.
    auto placeOf = [&](size_t axis)
    { return std::max(std::abs(m_channels[axis].low), std::abs(m_channels[axis].high)) * 1e-6; };
    for (int axis = 0; axis < 3; ++axis)
        if (!isNear(m_facing[axis], other.m_facing[axis], area * 1e-4))
            return false;
    if (m_numberRanges != other.m_numberRanges)
        return false;
    const bool isCut = m_primitiveCount != other.m_primitiveCount;
    for (size_t i = 1; i < m_channels.size(); ++i)
    {
        const Channel &mine = m_channels[i], &theirs = other.m_channels[i];
        const bool isPosition = i <= 3;
        const double range = isPosition ? size + placeOf(i) / kPositionTolerance : rangeOf(mine);
        const double steps = !isCut ? 0 : mine.tolerance == kDirectionTolerance ? 2 : 1;
        const double slack = mine.tolerance * range + steps * double(std::max(mine.step, theirs.step));
        if (mine.tolerance != kDirectionTolerance &&
            (!isNear(mine.low, theirs.low, slack) || !isNear(mine.high, theirs.high, slack)))
            return false;
        // About the middle of the values and of the place, so that large offsets take no part in products.
        const double middle = (double(mine.low) + mine.high) / 2;
        auto centered = [&](const kxSurface& surface, const Channel& channel, size_t axis)
        {
            const double place = (double(m_channels[axis].low) + m_channels[axis].high) / 2;
            return channel.sums[axis] - middle * surface.m_channels[0].sums[axis] -
                   place * (channel.sums[0] - middle * surface.m_channels[0].sums[0]);
        };
        if (!isNear(mine.sums[0] - middle * getArea(), theirs.sums[0] - middle * other.getArea(), area * slack))
            return false;
        for (size_t axis = 1; axis <= 3; ++axis)
            if (!isNear(centered(*this, mine, axis), centered(other, theirs, axis),
                        area * slack * (size + placeOf(axis) / kPositionTolerance)))
                return false;
    }
    auto haveAlike =
        [&](const std::map<uint64_t, Channel>& some, const std::map<uint64_t, Channel>& others, double slack)
    {
        for (const auto& [number, channel] : some)
        {
            const auto at = others.find(number);
            const Channel none;
            const Channel& theirs = at == others.end() ? none : at->second;
            for (size_t k = 0; k < 4; ++k)
                if (!isNear(channel.sums[k], theirs.sums[k],
                            slack * (k == 0 ? 1 : size + placeOf(k) / kPositionTolerance)))
                    return false;
        }
        return true;
    };
    const double weightStep = isCut ? std::max(m_weightStep, other.m_weightStep) : 0;
    const double weightSlack = area * (kValueTolerance + weightStep);
    const double numberSlack = area * kPositionTolerance + m_mixedArea + other.m_mixedArea;
    return haveAlike(m_bones, other.m_bones, weightSlack) && haveAlike(other.m_bones, m_bones, weightSlack) &&
           haveAlike(m_numbers, other.m_numbers, numberSlack) && haveAlike(other.m_numbers, m_numbers, numberSlack);
}

} // namespace Kel::Opt
