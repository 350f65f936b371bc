// An image: the bytes it came in, and its pixels once something asks for them.
#pragma once

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxUserData.h"
#include "platform/gfx/kxClut.h"
#include "platform/gfx/kxGfxNames.h"
#include "platform/gfx/kxTextureFormat.h"

namespace Kel::Gfx
{

/// An image. `_encoded` holds the bytes of the file it came in until its pixels are changed; an image that nothing touches
/// is written back from them. `_pixels` is null until the image is decoded.
class kxImage : public kxObject
{
    KX_OBJECT(kxImage, kxObject)
    static void listFields(kxFields<kxImage>& fields);

    kxStringRef _name;
    kxStringRef _uri;
    kxStringRef _mimeType;
    kxSmartPointer<kxMemoryBlock> _encoded;
    uint32_t _width = 0;
    uint32_t _height = 0;
    KX_GFX_TEXTURE_FORMAT _format = rgba_8888_32;
    KX_GFX_IMAGE_ORDER _order = DEFAULT;
    kxSmartPointer<kxMemoryBlock> _pixels;
    kxSmartPointer<kxClut> _clut;
    kxSmartPointer<kxUserData> _userData;

    kxStringRef getName() const { return _name; }
};

KX_OBJECT_LIST(kxImageList, kxImage)

} // namespace Kel::Gfx
