// Remapping of alpha.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/gfx/kxImage.h"

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// Maps the alpha of images of 32 bits a pixel: divided by a scale, cut to a whole number, plus an offset, kept to 8 bits.
/// The defaults map 0 to 255 onto 128 down to 0, for targets whose full alpha is 128.
class kxTransformAlpha : public kxOptVisitObject
{
    KX_OBJECT(kxTransformAlpha, kxOptVisitObject)
    static void listFields(kxFields<kxTransformAlpha>& fields);

    float _scale = -1.9921875f;
    int32_t _offset = 128;

    kxTransformAlpha();

    float getScale() const { return _scale; }
    void setScale(float scale) { _scale = scale; }
    int32_t getOffset() const { return _offset; }
    void setOffset(int32_t offset) { _offset = offset; }

    /// Refuses a scale whose reciprocal is no number.
    bool configure(int section) override;
    void visitor(kxObject* object) override;
    kxMetaObject* getVisitedObjectMeta() override;

    /// Maps an image's alphas in place; leaves one without pixels, or with another number of bytes a pixel, alone.
    void scale(kxImage* image, float scale, int32_t offset);

private:
    bool checkScale(float scale);
};

} // namespace Kel::Opt
