// Group that moves everything below it.
#pragma once

#include "platform/math/kxMath.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

/// Multiplies the matrix of the path. A transform given in parts (translation, rotation, scale) remembers them, so that it
/// is written as it was read and can be animated part by part; the matrix always holds their product.
class kxTransform : public kxGroup
{
    KX_OBJECT(kxTransform, kxGroup)
    static void listFields(kxFields<kxTransform>& fields);

    kxMatrix44f _matrix;
    bool _hasParts = false;
    kxVec3f _translation{0, 0, 0};
    kxQuatf _rotation{1, 0, 0, 0};
    kxVec3f _scale{1, 1, 1};

    const kxMatrix44f& getMatrix() const { return _matrix; }
    /// Sets the matrix; the parts are forgotten.
    void setMatrix(const kxMatrix44f& matrix);
    /// Sets the parts and with them the matrix.
    void setParts(const kxVec3f& translation, const kxQuatf& rotation, const kxVec3f& scale);
    /// True when the matrix is exactly the identity.
    bool isIdentity() const;
};

KX_OBJECT_LIST(kxTransformList, kxTransform)

} // namespace Kel::Sg
