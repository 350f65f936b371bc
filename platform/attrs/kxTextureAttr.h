// A texture: images and how they are sampled.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"
#include "platform/gfx/kxImage.h"

namespace Kel::Attrs
{

/// A texture: its images and its sampler. Filters and wrap modes are the numbers of the graphics interface, 0 where unset.
class kxTextureAttr : public kxAttr
{
    KX_OBJECT(kxTextureAttr, kxAttr)
    static void listFields(kxFields<kxTextureAttr>& fields);

    kxSmartPointer<kxImageList> _imageList = kxNew<kxImageList>();
    kxSmartPointer<kxStringRefList> _imageExtensions = kxNew<kxStringRefList>();
    uint32_t _flags = 0;
    bool _hasSampler = false;
    int32_t _magFilter = 0;
    int32_t _minFilter = 0;
    int32_t _wrapS = 10497;
    int32_t _wrapT = 10497;
    kxStringRef _samplerName;
    kxSmartPointer<kxUserData> _samplerUserData;

    static constexpr uint32_t MIPMAPPED = 1;
    bool isMipmapped() const { return (_flags & MIPMAPPED) != 0; }
    /// Image at an index, null when there is none.
    kxImage* getImage(uint32_t index) const
    {
        return index < _imageList->getCount() ? _imageList->get(index) : nullptr;
    }
    /// The first image there is, null when there is none.
    kxImage* getFirstImage() const
    {
        for (kxImage* image : *_imageList)
            if (image)
                return image;
        return nullptr;
    }
};

KX_OBJECT_LIST(kxTextureAttrList, kxTextureAttr)

} // namespace Kel::Attrs
