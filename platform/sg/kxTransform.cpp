#include "platform/sg/kxTransform.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransform)
KX_IMPLEMENT(kxTransformList)

void kxTransform::listFields(kxFields<kxTransform>& fields)
{
    fields.add(&kxTransform::_matrix, "_matrix", "matrix for row vectors, the translation in the last row");
    fields.add(&kxTransform::_hasParts, "_hasParts", "the matrix is the product of the parts");
    fields.add(&kxTransform::_translation, "_translation", "translation, scene units");
    fields.add(&kxTransform::_rotation, "_rotation", "rotation: real part, then vector");
    fields.add(&kxTransform::_scale, "_scale", "scale along the axes");
}

void kxTransform::setMatrix(const kxMatrix44f& matrix)
{
    _matrix = matrix;
    _hasParts = false;
    _translation = kxVec3f(0, 0, 0);
    _rotation = kxQuatf(1, 0, 0, 0);
    _scale = kxVec3f(1, 1, 1);
}

void kxTransform::setParts(const kxVec3f& translation, const kxQuatf& rotation, const kxVec3f& scale)
{
    _translation = translation;
    _rotation = rotation;
    _scale = scale;
    _hasParts = true;
    _matrix = composeMatrix(translation, rotation, scale);
}

bool kxTransform::isIdentity() const
{
    return _matrix == kxMatrix44f();
}

} // namespace Kel::Sg
