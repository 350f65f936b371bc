#include "platform/attrs/kxGeometryAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxGeometryAttr)
KX_IMPLEMENT(kxGeometryAttrList)

void kxGeometryAttr::listFields(kxFields<kxGeometryAttr>& fields)
{
    fields.add(&kxGeometryAttr::_primitiveMode, "_primitiveMode", "what the vertices form");
    fields.add(&kxGeometryAttr::_indices, "_indices", "indices into the arrays, null to draw in order");
    fields.add(&kxGeometryAttr::_arrays, "_arrays", "the vertex attributes");
    fields.add(&kxGeometryAttr::_morphTargets, "_morphTargets", "shapes that the vertices can be moved to");
}

const kxMetaEnum& kxMetaEnumOf(kxPrimitiveMode)
{
    static const kxMetaEnum metaEnum("kxPrimitiveMode", {{"POINTS", 0},
                                                         {"LINES", 1},
                                                         {"LINE_LOOP", 2},
                                                         {"LINE_STRIP", 3},
                                                         {"TRIANGLES", 4},
                                                         {"TRIANGLE_STRIP", 5},
                                                         {"TRIANGLE_FAN", 6}});
    return metaEnum;
}

kxVertexArray* kxGeometryAttr::getArray(kxStringRef semantic) const
{
    for (kxVertexArray* array : *_arrays)
        if (array && array->_semantic == semantic)
            return array;
    return nullptr;
}

int64_t kxGeometryAttr::getDrawCount() const
{
    if (_indices)
        return _indices->_count;
    return _arrays->isEmpty() || !_arrays->get(0) ? 0 : _arrays->get(0)->_count;
}

int64_t kxGeometryAttr::getTriangleCount() const
{
    const int64_t count = getDrawCount();
    switch (_primitiveMode)
    {
    case kxPrimitiveMode::TRIANGLES: return count / 3;
    case kxPrimitiveMode::TRIANGLE_STRIP:
    case kxPrimitiveMode::TRIANGLE_FAN: return count > 2 ? count - 2 : 0;
    default: return 0;
    }
}

} // namespace Kel::Attrs
