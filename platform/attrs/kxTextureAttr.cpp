#include "platform/attrs/kxTextureAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxTextureAttr)
KX_IMPLEMENT(kxTextureAttrList)

void kxTextureAttr::listFields(kxFields<kxTextureAttr>& fields)
{
    fields.add(&kxTextureAttr::_imageList, "_imageList",
               "the images, the same picture in several kinds of files; the one that every reader knows comes first");
    fields.add(&kxTextureAttr::_imageExtensions, "_imageExtensions",
               "for each image the extension that names it, empty for the one that every reader knows");
    fields.add(&kxTextureAttr::_flags, "_flags", "bit 0: the texture is mipmapped");
    fields.add(&kxTextureAttr::_hasSampler, "_hasSampler", "the file gives a sampler");
    fields.add(&kxTextureAttr::_magFilter, "_magFilter", "filter when magnified, 0 unset");
    fields.add(&kxTextureAttr::_minFilter, "_minFilter", "filter when minified, 0 unset");
    fields.add(&kxTextureAttr::_wrapS, "_wrapS", "what lies beyond the image to the sides");
    fields.add(&kxTextureAttr::_wrapT, "_wrapT", "what lies beyond the image above and below");
    fields.add(&kxTextureAttr::_samplerName, "_samplerName", "name of the sampler").setFlags(kxMetaField::NOT_COMPARED);
    fields.add(&kxTextureAttr::_samplerUserData, "_samplerUserData",
               "what a file says about the sampler beyond these fields");
}

} // namespace Kel::Attrs
