#include "platform/attrs/kxVertexArray.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <cstring>

namespace Kel::Attrs
{

KX_IMPLEMENT(kxVertexArray)
KX_IMPLEMENT(kxVertexArrayList)

void kxVertexArray::listFields(kxFields<kxVertexArray>& fields)
{
    fields.add(&kxVertexArray::_name, "_name", "name of the array");
    fields.add(&kxVertexArray::_semantic, "_semantic", "use of the values: POSITION, NORMAL, TEXCOORD_0 and so on");
    fields.add(&kxVertexArray::_componentType, "_componentType", "type of one component");
    fields.add(&kxVertexArray::_componentCount, "_componentCount",
               "components of one element: 1 to 4, or 4, 9, 16 for matrices");
    fields.add(&kxVertexArray::_matrix, "_matrix", "the elements are square matrices, column by column");
    fields.add(&kxVertexArray::_normalized, "_normalized", "integers stand for fractions");
    fields.add(&kxVertexArray::_count, "_count", "number of elements");
    fields.add(&kxVertexArray::_offset, "_offset", "byte of the first element in the data");
    fields.add(&kxVertexArray::_stride, "_stride", "bytes from one element to the next");
    fields.add(&kxVertexArray::_data, "_data", "the bytes");
    fields.add(&kxVertexArray::_sparse, "_sparse",
               "the file held the array as few differences from another or from zero");
    fields.add(&kxVertexArray::_hasBounds, "_hasBounds", "the file gave the smallest and largest values")
        .setFlags(kxMetaField::NOT_COMPARED);
    fields.add(&kxVertexArray::_userData, "_userData", "what a file says beyond these fields");
}

const kxMetaEnum& kxMetaEnumOf(kxComponentType)
{
    static const kxMetaEnum metaEnum(
        "kxComponentType",
        {{"INT8", 5120}, {"UINT8", 5121}, {"INT16", 5122}, {"UINT16", 5123}, {"UINT32", 5125}, {"FLOAT32", 5126}});
    return metaEnum;
}

uint32_t componentBytes(kxComponentType type)
{
    switch (type)
    {
    case kxComponentType::INT8:
    case kxComponentType::UINT8: return 1;
    case kxComponentType::INT16:
    case kxComponentType::UINT16: return 2;
    case kxComponentType::UINT32:
    case kxComponentType::FLOAT32: return 4;
    }
    return 0;
}

namespace
{

uint32_t rowCount(uint32_t componentCount)
{
    return componentCount == 4 ? 2 : componentCount == 9 ? 3 : 4;
}

// Columns of a matrix start at multiples of four bytes.
uint32_t columnBytes(kxComponentType type, uint32_t componentCount)
{
    return (rowCount(componentCount) * componentBytes(type) + 3) & ~3u;
}

template <class T>
T readAs(const uint8_t* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

} // namespace

uint32_t elementBytes(kxComponentType type, uint32_t componentCount, bool matrix)
{
    return matrix ? columnBytes(type, componentCount) * rowCount(componentCount)
                  : componentCount * componentBytes(type);
}

double kxVertexArray::getComponent(int64_t index, uint32_t component) const
{
    const uint32_t bytes = componentBytes(_componentType);
    const uint8_t* at = getElement(index);
    const uint32_t rows = rowCount(_componentCount);
    at += _matrix ? component / rows * columnBytes(_componentType, _componentCount) + component % rows * bytes
                  : component * bytes;
    switch (_componentType)
    {
    case kxComponentType::INT8:
    {
        const double value = readAs<int8_t>(at);
        return _normalized ? std::max(value / 127, -1.0) : value;
    }
    case kxComponentType::UINT8: return _normalized ? *at / 255.0 : *at;
    case kxComponentType::INT16:
    {
        const double value = readAs<int16_t>(at);
        return _normalized ? std::max(value / 32767, -1.0) : value;
    }
    case kxComponentType::UINT16:
    {
        const double value = readAs<uint16_t>(at);
        return _normalized ? value / 65535 : value;
    }
    case kxComponentType::UINT32: return readAs<uint32_t>(at);
    case kxComponentType::FLOAT32: return readAs<float>(at);
    }
    return 0;
}

uint32_t kxVertexArray::getIndex(int64_t index) const
{
    const uint8_t* at = getElement(index);
    switch (componentBytes(_componentType))
    {
    case 1: return *at;
    case 2: return readAs<uint16_t>(at);
    default: return readAs<uint32_t>(at);
    }
}

bool kxVertexArray::userCheckLoaded(std::string& fault) const
{
    const auto components = _componentCount;
    const bool isKnownShape =
        _matrix ? components == 4 || components == 9 || components == 16 : components >= 1 && components <= 4;
    if (!isKnownShape || componentBytes(_componentType) == 0)
    {
        fault = kxFormat("vertex array %s: %s of %u components of type %d", _semantic.c_str(),
                         _matrix ? "matrices" : "vectors", components, static_cast<int>(_componentType));
        return false;
    }
    const auto available = static_cast<int64_t>(_data ? _data->getSize() : 0);
    const int64_t elementBytes = getElementBytes();
    bool isInside = _count >= 0 && _offset >= 0 && _stride >= 0;
    if (isInside && _count > 0)
    {
        // By subtraction and division: sums and products of numbers from a file may overflow.
        const int64_t lastStart = available - elementBytes;
        isInside = _offset <= lastStart && (_stride == 0 || _count - 1 <= (lastStart - _offset) / _stride);
    }
    if (!isInside)
        fault = kxFormat("vertex array %s: %lld elements, every %lld bytes from byte %lld on, in data of %lld bytes",
                         _semantic.c_str(), static_cast<long long>(_count), static_cast<long long>(_stride),
                         static_cast<long long>(_offset), static_cast<long long>(available));
    return isInside;
}

} // namespace Kel::Attrs
