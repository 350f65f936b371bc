#include "opt/scene/kxVertexPool.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <tuple>

namespace Kel::Opt
{

namespace
{

template <class T>
void writeAs(uint8_t* at, double value, double scale)
{
    const double low = std::numeric_limits<T>::lowest(), high = std::numeric_limits<T>::max();
    const T stored = static_cast<T>(std::clamp(std::round(value * scale), low, high));
    std::memcpy(at, &stored, sizeof stored);
}

// The opposite of kxVertexArray::getComponent.
void writeComponent(uint8_t* at, kxComponentType type, bool normalized, double value)
{
    switch (type)
    {
    case kxComponentType::INT8: return writeAs<int8_t>(at, value, normalized ? 127 : 1);
    case kxComponentType::UINT8: return writeAs<uint8_t>(at, value, normalized ? 255 : 1);
    case kxComponentType::INT16: return writeAs<int16_t>(at, value, normalized ? 32767 : 1);
    case kxComponentType::UINT16: return writeAs<uint16_t>(at, value, normalized ? 65535 : 1);
    case kxComponentType::UINT32: return writeAs<uint32_t>(at, value, 1);
    case kxComponentType::FLOAT32:
    {
        const auto number = static_cast<float>(value);
        std::memcpy(at, &number, sizeof number);
    }
    }
}

template <class T>
double readAs(const uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

double readComponent(const uint8_t* at, kxComponentType type, bool normalized)
{
    switch (type)
    {
    case kxComponentType::INT8: return normalized ? std::max(readAs<int8_t>(at) / 127, -1.0) : readAs<int8_t>(at);
    case kxComponentType::UINT8: return normalized ? *at / 255.0 : *at;
    case kxComponentType::INT16: return normalized ? std::max(readAs<int16_t>(at) / 32767, -1.0) : readAs<int16_t>(at);
    case kxComponentType::UINT16: return readAs<uint16_t>(at) / (normalized ? 65535 : 1);
    case kxComponentType::UINT32: return readAs<uint32_t>(at);
    case kxComponentType::FLOAT32: return readAs<float>(at);
    }
    return 0;
}

template <class T>
void readIndices(const kxVertexArray& indices, std::vector<uint32_t>& order)
{
    for (size_t i = 0; i < order.size(); ++i)
    {
        T index;
        std::memcpy(&index, indices.getElement(static_cast<int64_t>(i)), sizeof index);
        order[i] = index;
    }
}

template <class T>
void writeIndices(const std::vector<uint32_t>& vertices, const std::vector<uint32_t>& newNumbers, uint8_t* target)
{
    for (const uint32_t vertex : vertices)
    {
        const T index = static_cast<T>(newNumbers[vertex] - 1);
        std::memcpy(target, &index, sizeof index);
        target += sizeof index;
    }
}

// One element as numbers, wherever it lies; matrices are not asked for.
void readElement(const kxVertexArray& form, const uint8_t* at, double* values)
{
    const uint32_t bytes = componentBytes(form._componentType);
    const bool isFloat = form._componentType == kxComponentType::FLOAT32;
    for (uint32_t c = 0; c < form._componentCount; ++c)
        values[c] = isFloat ? readAs<float>(at + c * bytes)
                            : readComponent(at + c * bytes, form._componentType, form._normalized);
}

// False for a direction that has nearly vanished between two opposite ones.
bool normalize(double* values)
{
    const double length = std::sqrt(values[0] * values[0] + values[1] * values[1] + values[2] * values[2]);
    if (!(length > 1e-6))
        return false;
    for (int c = 0; c < 3; ++c)
        values[c] /= length;
    return true;
}

} // namespace

kxPrimitiveMode kxPrimitives::getMode() const
{
    return size == 1 ? kxPrimitiveMode::POINTS : size == 2 ? kxPrimitiveMode::LINES : kxPrimitiveMode::TRIANGLES;
}

bool kxPrimitives::read(const kxGeometryAttr& attr)
{
    const int64_t count = attr.getDrawCount();
    const int64_t vertexCount = attr._arrays->isEmpty() || !attr._arrays->get(0) ? 0 : attr._arrays->get(0)->_count;
    if (vertexCount > UINT32_MAX / 2 || count > UINT32_MAX)
        return false;
    vertices.resize(static_cast<size_t>(count));
    if (!attr._indices)
        std::iota(vertices.begin(), vertices.end(), 0u);
    else if (const uint32_t bytes = componentBytes(attr._indices->_componentType); bytes == 1)
        readIndices<uint8_t>(*attr._indices, vertices);
    else if (bytes == 2)
        readIndices<uint16_t>(*attr._indices, vertices);
    else
        readIndices<uint32_t>(*attr._indices, vertices);
    for (const uint32_t vertex : vertices)
        if (vertex >= vertexCount)
            return false;
    const kxPrimitiveMode mode = attr._primitiveMode;
    size = mode == kxPrimitiveMode::POINTS ? 1 : mode <= kxPrimitiveMode::LINE_STRIP ? 2 : 3;
    const size_t n = vertices.size();
    std::vector<uint32_t> order;
    if (mode != kxPrimitiveMode::POINTS && mode != kxPrimitiveMode::LINES && mode != kxPrimitiveMode::TRIANGLES)
        order.swap(vertices);
    auto addLine = [&](size_t a, size_t b)
    {
        if (order[a] != order[b])
            vertices.insert(vertices.end(), {order[a], order[b]});
    };
    auto addTriangle = [&](size_t a, size_t b, size_t c)
    {
        if (order[a] != order[b] && order[b] != order[c] && order[a] != order[c])
            vertices.insert(vertices.end(), {order[a], order[b], order[c]});
    };
    switch (mode)
    {
    case kxPrimitiveMode::POINTS:
    case kxPrimitiveMode::LINES:
    case kxPrimitiveMode::TRIANGLES: vertices.resize(n - n % size); break;
    case kxPrimitiveMode::LINE_STRIP:
    case kxPrimitiveMode::LINE_LOOP:
        for (size_t i = 1; i < n; ++i)
            addLine(i - 1, i);
        if (mode == kxPrimitiveMode::LINE_LOOP && n > 2)
            addLine(n - 1, 0);
        break;
    case kxPrimitiveMode::TRIANGLE_STRIP:
        for (size_t i = 2; i < n; ++i)
            addTriangle(i - 2, i % 2 ? i : i - 1, i % 2 ? i - 1 : i);
        break;
    case kxPrimitiveMode::TRIANGLE_FAN:
        for (size_t i = 2; i < n; ++i)
            addTriangle(0, i - 1, i);
        break;
    }
    return true;
}

namespace
{

const kxVertexArray* positionsOf(const kxGeometryAttr& attr)
{
    static const kxStringRef kPosition("POSITION");
    return attr.getArray(kPosition);
}

} // namespace

bool kxVertexPool::isUsable(const kxGeometryAttr& attr)
{
    const kxVertexArray* positions = positionsOf(attr);
    if (!positions || positions->_componentCount != 3 || positions->_matrix || positions->_count > UINT32_MAX / 2)
        return false;
    const auto fits = [&](const kxVertexArray* array)
    { return array && array->_count == positions->_count && (array->_count == 0 || array->_data); };
    for (const kxVertexArray* array : *attr._arrays)
        if (!fits(array))
            return false;
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                if (!fits(array))
                    return false;
    return true;
}

void kxVertexPool::reset(const kxGeometryAttr& attr)
{
    m_attr = &attr;
    m_positionArray = positionsOf(attr);
    m_sourceCount = 0;
    m_channelCount = 0;
    m_positions.clear();
    if (!isUsable(attr))
        return;
    m_sourceCount = static_cast<uint32_t>(m_positionArray->_count);
    for (const kxVertexArray* array : *attr._arrays)
        addChannel(array, false);
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                addChannel(array, true);
}

void kxVertexPool::addChannel(const kxVertexArray* array, bool isDisplacement)
{
    const std::string_view use = array->_semantic.view();
    const bool isWhole = array->_componentType != kxComponentType::FLOAT32 && !array->_normalized;
    const bool isKnown = use == "POSITION" || use == "NORMAL" || use == "TANGENT" || use.substr(0, 9) == "TEXCOORD_" ||
                         use.substr(0, 6) == "COLOR_";
    Kind kind = LINEAR;
    if (!isDisplacement && array == m_positionArray)
        kind = POSITION;
    else if (array->_matrix || (isWhole && !isKnown))
        kind = NEARER;
    else if (!isDisplacement && use == "NORMAL" && array->_componentCount == 3)
        kind = DIRECTION;
    else if (!isDisplacement && use == "TANGENT" && array->_componentCount == 4)
        kind = TANGENT;
    const bool becomesFloat = kind == POSITION && array->_componentType != kxComponentType::FLOAT32;
    if (m_channelCount == m_channels.size())
        m_channels.emplace_back();
    Channel& channel = m_channels[m_channelCount++];
    channel.source = array;
    channel.kind = kind;
    channel.becomesFloat = becomesFloat;
    channel.bytes = array->getElementBytes();
    channel.added.clear();
}

void kxVertexPool::readPositions()
{
    m_positions.resize(m_sourceCount);
    const bool isFloat = m_positionArray->_componentType == kxComponentType::FLOAT32;
    for (uint32_t i = 0; i < m_sourceCount; ++i)
        if (isFloat)
            std::memcpy(&m_positions[i].x, m_positionArray->getElement(i), sizeof(kxVec3f));
        else
            for (uint32_t c = 0; c < 3; ++c)
                m_positions[i][static_cast<int>(c)] = static_cast<float>(m_positionArray->getComponent(i, c));
}

const uint8_t* kxVertexPool::elementOf(const Channel& channel, uint32_t vertex) const
{
    return vertex < m_sourceCount ? channel.source->getElement(vertex)
                                  : channel.added.data() + size_t(vertex - m_sourceCount) * channel.bytes;
}

uint32_t kxVertexPool::addCrossing(uint32_t a, uint32_t b, int axis, float value)
{
    // From the end that comes first by its place, so that both triangles at an edge round alike.
    auto place = [&](uint32_t vertex)
    { return std::tuple(m_positions[vertex].x, m_positions[vertex].y, m_positions[vertex].z); };
    if (place(b) < place(a))
        std::swap(a, b);
    const kxVec3f &from = m_positions[a], &to = m_positions[b];
    const float way = (value - from[axis]) / (to[axis] - from[axis]);
    kxVec3f crossing = from + (to - from) * way;
    crossing[axis] = value;
    for (size_t i = 0; i < m_channelCount; ++i)
        if (m_channels[i].kind != POSITION)
            interpolate(m_channels[i], a, b, way);
    m_positions.push_back(crossing);
    return getCount() - 1;
}

void kxVertexPool::interpolate(Channel& channel, uint32_t a, uint32_t b, float way)
{
    const kxVertexArray& form = *channel.source;
    const size_t start = channel.added.size();
    channel.added.resize(start + channel.bytes); // before the elements are looked at: they may lie in it
    uint8_t* target = channel.added.data() + start;
    const uint8_t *from = elementOf(channel, a), *to = elementOf(channel, b);
    std::memcpy(target, way < 0.5f ? from : to, channel.bytes);
    if (channel.kind == NEARER)
        return;
    const uint32_t count = form._componentCount;
    double x[4], y[4];
    readElement(form, from, x);
    readElement(form, to, y);
    if (channel.kind == TANGENT)
        x[3] = y[3] = way < 0.5f ? x[3] : y[3];
    for (uint32_t c = 0; c < count; ++c)
        x[c] += (y[c] - x[c]) * way;
    if ((channel.kind == DIRECTION || channel.kind == TANGENT) && !normalize(x))
        return;
    const uint32_t bytes = componentBytes(form._componentType);
    for (uint32_t c = 0; c < count; ++c)
        writeComponent(target + c * bytes, form._componentType, form._normalized, x[c]);
}

// Elements of N bytes, or of any number when N is 0.
template <size_t N>
void kxVertexPool::gather(const Channel& channel, uint8_t* target) const
{
    const size_t bytes = N ? N : channel.bytes;
    for (const uint32_t vertex : m_order)
    {
        std::memcpy(target, elementOf(channel, vertex), bytes);
        target += bytes;
    }
}

kxSmartPointer<kxVertexArray> kxVertexPool::buildArray(const Channel& channel) const
{
    const kxVertexArray& form = *channel.source;
    const auto array = kxNew<kxVertexArray>();
    array->_name = form._name;
    array->_semantic = form._semantic;
    array->_componentType = form._componentType;
    array->_componentCount = form._componentCount;
    array->_matrix = form._matrix;
    array->_normalized = form._normalized;
    array->_sparse = form._sparse;
    array->_hasBounds = form._hasBounds;
    array->_userData = form._userData;
    array->_count = static_cast<int64_t>(m_order.size());
    const bool fromPositions = channel.kind == POSITION && !m_positions.empty() &&
                               (!channel.becomesFloat || m_positions.size() > m_sourceCount);
    if (fromPositions)
    {
        array->_componentType = kxComponentType::FLOAT32;
        array->_normalized = false;
    }
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::create(m_order.size() * static_cast<size_t>(array->_stride));
    uint8_t* target = array->_data->getWritableData();
    if (fromPositions)
        for (const uint32_t vertex : m_order)
        {
            std::memcpy(target, &m_positions[vertex], sizeof(kxVec3f));
            target += sizeof(kxVec3f);
        }
    else
        switch (channel.bytes) // copies of a known size need no call
        {
        case 4: gather<4>(channel, target); break;
        case 8: gather<8>(channel, target); break;
        case 12: gather<12>(channel, target); break;
        case 16: gather<16>(channel, target); break;
        default: gather<0>(channel, target); break;
        }
    return array;
}

kxSmartPointer<kxVertexArray> kxVertexPool::buildIndices(const kxPrimitives& primitives)
{
    static const kxStringRef kIndices("INDICES");
    m_order.clear();
    if (const size_t needed = std::max<size_t>(m_sourceCount, m_positions.size()); m_newNumbers.size() < needed)
        m_newNumbers.resize(needed);
    for (const uint32_t vertex : primitives.vertices)
        if (m_newNumbers[vertex] == 0)
        {
            m_order.push_back(vertex);
            m_newNumbers[vertex] = static_cast<uint32_t>(m_order.size());
        }
    // The largest number of each size is left free: it means the start of a new strip to graphics interfaces.
    const bool wasSmall = m_attr->_indices && componentBytes(m_attr->_indices->_componentType) == 1;
    const uint32_t bytes = m_order.size() <= 0xff && wasSmall ? 1 : m_order.size() <= 0xffff ? 2 : 4;
    const auto array = kxNew<kxVertexArray>();
    array->_semantic = kIndices;
    if (m_attr->_indices)
    {
        array->_name = m_attr->_indices->_name;
        array->_semantic = m_attr->_indices->_semantic;
        array->_userData = m_attr->_indices->_userData;
    }
    array->_componentType = bytes == 1   ? kxComponentType::UINT8
                            : bytes == 2 ? kxComponentType::UINT16
                                         : kxComponentType::UINT32;
    array->_count = static_cast<int64_t>(primitives.vertices.size());
    array->_stride = bytes;
    array->_data = kxMemoryBlock::create(primitives.vertices.size() * bytes);
    uint8_t* target = array->_data->getWritableData();
    if (bytes == 1)
        writeIndices<uint8_t>(primitives.vertices, m_newNumbers, target);
    else if (bytes == 2)
        writeIndices<uint16_t>(primitives.vertices, m_newNumbers, target);
    else
        writeIndices<uint32_t>(primitives.vertices, m_newNumbers, target);
    for (const uint32_t vertex : m_order)
        m_newNumbers[vertex] = 0;
    return array;
}

kxSmartPointer<kxGeometryAttr> kxVertexPool::build(const kxPrimitives& primitives)
{
    const auto attr = kxNew<kxGeometryAttr>();
    attr->_name = m_attr->_name;
    attr->_userData = m_attr->_userData;
    attr->_primitiveMode = primitives.getMode();
    attr->_indices = buildIndices(primitives);
    size_t next = 0;
    auto buildNext = [&] { return buildArray(m_channels[next++]); };
    for (uint32_t i = 0; i < m_attr->_arrays->getCount(); ++i)
        attr->_arrays->append(buildNext());
    for (const kxMorphTarget* target : *m_attr->_morphTargets)
    {
        kxSmartPointer<kxMorphTarget> copy;
        if (target)
        {
            copy = kxNew<kxMorphTarget>();
            copy->_name = target->_name;
            for (uint32_t i = 0; i < target->_arrays->getCount(); ++i)
                copy->_arrays->append(buildNext());
        }
        attr->_morphTargets->append(copy);
    }
    return attr;
}

kxAABox kxVertexPool::findBuiltBox() const
{
    kxAABox box;
    for (const uint32_t vertex : m_order)
        for (int axis = 0; axis < 3; ++axis)
        {
            const float at = m_positions[vertex][axis];
            box.min[axis] = at < box.min[axis] ? at : box.min[axis];
            box.max[axis] = at > box.max[axis] ? at : box.max[axis];
        }
    return box;
}

} // namespace Kel::Opt
