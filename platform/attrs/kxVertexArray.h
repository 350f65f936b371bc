// One attribute of a mesh's vertices, or its indices.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxUserData.h"

namespace Kel::Attrs
{

/// Types of a vertex component; the numbers are those of the graphics interface.
enum class kxComponentType : int32_t
{
    INT8 = 5120,
    UINT8 = 5121,
    INT16 = 5122,
    UINT16 = 5123,
    UINT32 = 5125,
    FLOAT32 = 5126
};
const kxMetaEnum& kxMetaEnumOf(kxComponentType);

/// Bytes of one component; 0 for an unknown type.
uint32_t componentBytes(kxComponentType type);
/// Bytes of one element of `componentCount` components, padding within matrices included.
uint32_t elementBytes(kxComponentType type, uint32_t componentCount, bool matrix);

/// Values of one vertex attribute (or indices), in the component type that the file uses. Element i starts at byte
/// `_offset + i * _stride` of `_data`; files in which one lies outside are refused. Integers may stand for 0 to 1 or -1 to 1
/// (`_normalized`). Arrays are shared between primitives that use the same values.
class kxVertexArray : public kxObject
{
    KX_OBJECT(kxVertexArray, kxObject)
    static void listFields(kxFields<kxVertexArray>& fields);

    kxStringRef _name;
    kxStringRef _semantic;
    kxComponentType _componentType = kxComponentType::FLOAT32;
    uint32_t _componentCount = 1;
    bool _matrix = false;
    bool _normalized = false;
    int64_t _count = 0;
    int64_t _offset = 0;
    int64_t _stride = 0;
    kxSmartPointer<kxMemoryBlock> _data;
    bool _sparse = false;
    bool _hasBounds = false;
    kxSmartPointer<kxUserData> _userData;

    /// Bytes of one element, padding within matrices included.
    uint32_t getElementBytes() const { return elementBytes(_componentType, _componentCount, _matrix); }
    /// First byte of an element; `index` is below `_count`.
    const uint8_t* getElement(int64_t index) const { return _data->getData() + _offset + index * _stride; }
    /// One component as a number, fractions as such. Components of matrices are counted column by column.
    double getComponent(int64_t index, uint32_t component) const;
    /// An index; only for scalar integer arrays. What it points to may lie outside of other arrays.
    uint32_t getIndex(int64_t index) const;

    /// Refuses arrays with elements outside of their data.
    bool userCheckLoaded(std::string& fault) const override;
};

KX_OBJECT_LIST(kxVertexArrayList, kxVertexArray)

} // namespace Kel::Attrs
