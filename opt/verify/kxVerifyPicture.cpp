#include "opt/verify/kxVerifyPicture.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/verify/kxMotionComparison.h"
#include "opt/verify/kxVerifyMemory.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxVerifyPicture)
KX_IMPLEMENT(kxVerifyMemory)

void kxVerifyPicture::listFields(kxFields<kxVerifyPicture>& fields)
{
    fields.add(&kxVerifyPicture::_tolerance, "_tolerance",
               "difference of matrices that does not count, as a part of their largest number");
    fields.add(&kxVerifyPicture::_ignoreImages, "_ignoreImages", "compare textures without their images");
    fields.add(&kxVerifyPicture::_maxLines, "_maxLines", "differences to print");
    fields.add(&kxVerifyPicture::_remember, "_remember", "remember the picture as it is now, in place of comparing it");
    fields.add(&kxVerifyPicture::_motionTolerance, "_motionTolerance",
               "distance of what clips move that does not count, as a part of the extent of what moves");
    fields.add(&kxVerifyPicture::_imageTolerance, "_imageTolerance",
               "root mean square difference of images that does not count, in steps of 255");
}

bool kxVerifyPicture::configure(int)
{
    return true;
}

bool kxVerifyPicture::canOptimize(kxNode*)
{
    return true;
}

bool kxVerifyPicture::canOptimize(kxInfo* info)
{
    return kxCast<kxSceneInfo>(info) != nullptr;
}

bool kxVerifyPicture::applyInfo(kxInfo* info)
{
    const auto* scene = kxCast<kxSceneInfo>(info);
    return scene && verify(scene, scene->getSceneGraph());
}

bool kxVerifyPicture::apply(kxSmartPointer<kxNode>& root)
{
    return verify(nullptr, root);
}

bool kxVerifyPicture::verify(const kxSceneInfo* scene, kxNode* root)
{
    const auto picture = std::make_shared<kxDrawList>();
    if (scene)
        picture->collect(scene);
    else
        picture->collect(root);
    const char* name = scene ? scene->getName().c_str() : "";
    if (!picture->isComplete())
    {
        printf("\t\tthe picture of \"%s\" has more than %zu paths: it cannot be verified\n", name,
               kxDrawList::kMaxPaths);
        return false;
    }
    const auto drawCount = static_cast<int64_t>(picture->getDraws().size());

    static const kxStringRef key("kxVerifyPicture");
    kxSmartPointer<kxVerifyMemory> memory;
    if (_optInterface)
        memory = kxCast<kxVerifyMemory>(_optInterface->getRunData(key));
    if (!memory)
    {
        memory = kxNew<kxVerifyMemory>();
        if (_optInterface)
            _optInterface->setRunData(key, memory);
    }
    std::shared_ptr<const kxDrawList>& remembered = memory->m_pictures[scene];
    std::shared_ptr<const kxMotionList>& rememberedMotion = memory->m_motions[scene];
    const auto motion = std::make_shared<kxMotionList>();
    if (scene && _optInterface)
        motion->collect(scene, _optInterface->getInfos(), _remember ? nullptr : rememberedMotion.get());
    if (!remembered || _remember)
    {
        remembered = picture;
        rememberedMotion = motion;
        printf("\t\tpicture of \"%s\" remembered (%lld draws)\n", name, static_cast<long long>(drawCount));
        count("draws remembered", drawCount);
        return true;
    }
    count("draws compared", drawCount);
    kxPictureComparison comparison({.tolerance = _tolerance,
                                    .ignoreImages = _ignoreImages,
                                    .motionTolerance = _motionTolerance,
                                    .imageTolerance = _imageTolerance});
    const bool isSame = comparison.compare(*remembered, *picture);
    const std::vector<std::string> moved =
        compareMotion(*rememberedMotion, *motion, _motionTolerance, _maxLines, isSame);
    if (isSame && moved.empty())
    {
        printf("\t\tpicture of \"%s\" unchanged (%lld draws)\n", name, static_cast<long long>(drawCount));
        return true;
    }
    count("draws gone or changed", static_cast<int64_t>(comparison.getOnlyInA().size()));
    count("draws new or changed", static_cast<int64_t>(comparison.getOnlyInB().size()));
    printf("\t\tpicture of \"%s\" changed:\n", name);
    for (const std::string& line : comparison.describe(*remembered, *picture, _maxLines))
        printf("\t\t%s\n", line.c_str());
    for (const std::string& line : moved)
        printf("\t\t%s\n", line.c_str());
    return false;
}

} // namespace Kel::Opt
