#include "platform/gfx/kxImage.h"

namespace Kel::Gfx
{

KX_IMPLEMENT(kxImage)
KX_IMPLEMENT(kxImageList)

void kxImage::listFields(kxFields<kxImage>& fields)
{
    fields.add(&kxImage::_name, "_name", "name of the image, often its file name");
    fields.add(&kxImage::_uri, "_uri",
               "path of the image's own file relative to the scene, null for an image inside the scene's file");
    fields.add(&kxImage::_mimeType, "_mimeType", "media type of the encoded bytes");
    fields.add(&kxImage::_encoded, "_encoded", "bytes of the image's file, null when the pixels have changed");
    fields.add(&kxImage::_width, "_width", "width in pixels, 0 until decoded");
    fields.add(&kxImage::_height, "_height", "height in pixels, 0 until decoded");
    fields.add(&kxImage::_format, "_format", "format of the pixels");
    fields.add(&kxImage::_order, "_order", "order of a pixel's components");
    fields.add(&kxImage::_pixels, "_pixels", "pixel rows from the top, null until decoded");
    fields.add(&kxImage::_clut, "_clut", "palette of an indexed image");
    fields.add(&kxImage::_userData, "_userData", "what a file says beyond these fields");
}

} // namespace Kel::Gfx
