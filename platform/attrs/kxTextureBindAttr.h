// Puts a texture to a use.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/attrs/kxTextureAttr.h"

namespace Kel::Attrs
{

/// Binds a texture to one use of the material (its unit) and says how it is addressed.
class kxTextureBindAttr : public kxAttr
{
    KX_OBJECT(kxTextureBindAttr, kxAttr)
    static void listFields(kxFields<kxTextureBindAttr>& fields);

    uint32_t _unit = 0;
    kxStringRef _slot;
    kxSmartPointer<kxTextureAttr> _texture;
    int32_t _texCoord = 0;
    float _scale = 1;
    bool _hasTransform = false;
    kxVec2f _offset{0, 0};
    float _rotation = 0;
    kxVec2f _uvScale{1, 1};
    int32_t _transformTexCoord = -1;

    uint16_t getUnit() const override { return static_cast<uint16_t>(_unit); }
    kxTextureAttr* getTexture() const { return _texture; }
    void setTexture(kxTextureAttr* texture) { _texture = texture; }
    /// Unit of a use by the name that files give it; the same name has the same unit in every file of a run.
    static uint32_t unitOfSlot(kxStringRef slot);
    /// Finds the unit of the use again: numbers of extensions' uses differ between runs.
    void userLoaded() override;
};

KX_OBJECT_LIST(kxTextureBindAttrList, kxTextureBindAttr)

} // namespace Kel::Attrs
