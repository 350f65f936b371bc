// Makes equal images and textures shared.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/attrs/kxTextureBindAttr.h"

#include <unordered_map>
#include <unordered_set>

namespace Kel::Opt
{

using namespace Kel::Attrs;
using namespace Kel::Gfx;

/// Shares equal images, and then equal textures, among the textures that are put to a use: the first of each kind that is met
/// stays, with its name and the path of its file, and takes the place of every later one. Images are equal when the bytes of
/// their files are or, once these are gone, their pixels and all that goes into a new file; textures are equal when they show
/// the same images through the same sampler. Extras and extensions keep both apart.
///
/// Attributes that bind textures stay as they are: `kxShareAttrs` shares those of one texture afterwards. Leaves alone: locked
/// images, textures and binds, and images of which there is neither a file nor pixels. Cost: the bytes of the images are looked
/// at once, and once more where two are equal.
class kxShareImages : public kxOptVisitObject
{
    KX_OBJECT(kxShareImages, kxOptVisitObject)
    static void listFields(kxFields<kxShareImages>& fields);

    kxShareImages();

    bool configure(int section) override;
    void preVisit() override;
    void visitor(kxObject* object) override;
    void postVisit() override;
    kxMetaObject* getVisitedObjectMeta() override;

private:
    kxImage* keep(kxImage* image);
    kxTextureAttr* keep(kxTextureAttr* texture);

    struct Met
    {
        kxSmartPointer<kxObject> itself; // so that no other object comes to stand in its place
        kxSmartPointer<kxObject> kept;
    };
    std::unordered_map<const kxObject*, Met> m_met;
    std::unordered_multimap<uint64_t, kxImage*> m_images; // kept ones by their contents
    std::unordered_multimap<uint64_t, kxTextureAttr*> m_textures;
    std::unordered_set<const kxTextureAttr*> m_replaced; // at one bind or more
};

} // namespace Kel::Opt
