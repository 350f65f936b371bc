// Vertex data of a geometry.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"
#include "platform/attrs/kxMorphTarget.h"

namespace Kel::Attrs
{

/// What vertices form; the numbers are those of the graphics interface.
enum class kxPrimitiveMode : int32_t
{
    POINTS = 0,
    LINES = 1,
    LINE_LOOP = 2,
    LINE_STRIP = 3,
    TRIANGLES = 4,
    TRIANGLE_STRIP = 5,
    TRIANGLE_FAN = 6
};
const kxMetaEnum& kxMetaEnumOf(kxPrimitiveMode);

/// Vertex data: what is drawn, from which vertices. Without indices the vertices are drawn in order.
class kxGeometryAttr : public kxAttr
{
    KX_OBJECT(kxGeometryAttr, kxAttr)
    static void listFields(kxFields<kxGeometryAttr>& fields);

    kxPrimitiveMode _primitiveMode = kxPrimitiveMode::TRIANGLES;
    kxSmartPointer<kxVertexArray> _indices;
    kxSmartPointer<kxVertexArrayList> _arrays = kxNew<kxVertexArrayList>();
    kxSmartPointer<kxMorphTargetList> _morphTargets = kxNew<kxMorphTargetList>();

    /// Array of a use, null when there is none.
    kxVertexArray* getArray(kxStringRef semantic) const;
    /// Vertices that are fetched: indices, or elements of the first array.
    int64_t getDrawCount() const;
    int64_t getTriangleCount() const;
};

KX_OBJECT_LIST(kxGeometryAttrList, kxGeometryAttr)

} // namespace Kel::Attrs
