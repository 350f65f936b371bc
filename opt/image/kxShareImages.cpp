#include "opt/image/kxShareImages.h"

#include "opt/scene/kxServices.h"

#include <cstring>

namespace Kel::Opt
{

KX_IMPLEMENT(kxShareImages)

namespace
{

bool isSame(const kxMemoryBlock* a, const kxMemoryBlock* b)
{
    if (a == b || !a || !b)
        return a == b;
    return a->getSize() == b->getSize() && a->getContentHash() == b->getContentHash() &&
           (a->getSize() == 0 || std::memcmp(a->getData(), b->getData(), a->getSize()) == 0);
}

bool isSame(const kxClut* a, const kxClut* b)
{
    return a == b || (a && b && a->isAlikeShallow(b));
}

bool isSame(const kxUserData* a, const kxUserData* b)
{
    const bool hasA = a && !a->isEmpty(), hasB = b && !b->isEmpty();
    return a == b || (hasA && hasB ? a->isAlikeShallow(b) : hasA == hasB);
}

// Of what a file says of its bytes the type may be missing.
bool isSameType(kxStringRef a, kxStringRef b)
{
    return a == b || a.isEmpty() || b.isEmpty();
}

bool isSameImage(const kxImage& a, const kxImage& b)
{
    if (!isSame(a._userData, b._userData))
        return false;
    if (a._encoded || b._encoded)
        return isSame(a._encoded, b._encoded) && isSameType(a._mimeType, b._mimeType);
    return a._width == b._width && a._height == b._height && a._format == b._format && a._order == b._order &&
           a._mimeType == b._mimeType && a._quality == b._quality && a._subsampling == b._subsampling &&
           a._gamma == b._gamma && a._srgbIntent == b._srgbIntent && a._orientation == b._orientation &&
           isSame(a._clut, b._clut) && isSame(a._colorProfile, b._colorProfile) &&
           isSame(a._chromaticities, b._chromaticities) && isSame(a._pixels, b._pixels);
}

} // namespace

void kxShareImages::listFields(kxFields<kxShareImages>&) {}

kxShareImages::kxShareImages()
{
    _visitedMetaObject = getVisitedObjectMeta();
}

kxMetaObject* kxShareImages::getVisitedObjectMeta()
{
    return kxTextureBindAttr::staticMetaObject();
}

bool kxShareImages::configure(int)
{
    return true;
}

void kxShareImages::preVisit()
{
    // Whatever was kept for another file may have changed since.
    m_met.clear();
    m_images.clear();
    m_textures.clear();
    m_replaced.clear();
}

void kxShareImages::postVisit()
{
    preVisit();
}

void kxShareImages::visitor(kxObject* object)
{
    auto* bind = kxCast<kxTextureBindAttr>(object);
    if (!bind || !bind->getTexture())
        return;
    const kxSmartPointer<kxTextureAttr> texture = bind->getTexture();
    kxTextureAttr* kept = keep(texture);
    if (kept == texture)
        return;
    if (isLocked(*this, bind))
        return refuse("locked", bind);
    bind->setTexture(kept);
    if (m_replaced.insert(texture).second)
        count("textures shared");
}

kxTextureAttr* kxShareImages::keep(kxTextureAttr* texture)
{
    if (const auto [known, isNew] = m_met.try_emplace(texture, Met{texture, texture}); !isNew)
        return static_cast<kxTextureAttr*>(known->second.kept.get());
    if (isLocked(*this, texture))
    {
        refuse("locked", texture);
        return texture;
    }
    // Images first: textures are equal when they show the very same ones.
    kxImageList& images = *texture->_imageList;
    for (uint32_t i = 0; i < images.getCount(); ++i)
        if (kxImage* image = images.get(i))
            if (kxImage* first = keep(image); first != image)
                images.set(i, first);
    const uint64_t key = texture->hashShallow();
    const auto [begin, end] = m_textures.equal_range(key);
    for (auto at = begin; at != end; ++at)
        if (at->second->isAlikeShallow(texture))
        {
            m_met[texture].kept = at->second;
            return at->second;
        }
    m_textures.emplace(key, texture);
    return texture;
}

kxImage* kxShareImages::keep(kxImage* image)
{
    const auto [known, isNew] = m_met.try_emplace(image, Met{image, image});
    if (!isNew)
        return static_cast<kxImage*>(known->second.kept.get());
    const kxMemoryBlock* bytes = image->_encoded ? image->_encoded.get() : image->_pixels.get();
    if (!bytes)
        return image;
    if (isLocked(*this, image))
    {
        refuse("locked", image);
        return image;
    }
    // What else tells images of the same bytes apart, of which there may be very many.
    uint64_t key = bytes->getContentHash();
    if (image->_userData && !image->_userData->isEmpty())
        key += image->_userData->hashShallow();
    const auto [begin, end] = m_images.equal_range(key);
    for (auto at = begin; at != end; ++at)
        if (isSameImage(*at->second, *image))
        {
            count("images shared");
            known->second.kept = at->second;
            return at->second;
        }
    m_images.emplace(key, image);
    return image;
}

} // namespace Kel::Opt
