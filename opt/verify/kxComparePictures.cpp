#include "opt/verify/kxComparePictures.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/verify/kxMotionComparison.h"
#include "platform/core/kxReport.h"

namespace Kel::Opt
{

namespace
{

bool collectFile(const char* path, kxFileOptions* fileOptions, kxDrawList& picture, kxMotionList& motion,
                 const kxMotionList* like)
{
    const auto service = kxNew<kxOptInterface>();
    service->setFileOptions(fileOptions);
    kxSmartPointer<kxSceneInfo> scene;
    if (!service->loadFile(path, scene))
        return false;
    picture.collect(service->getInfos());
    motion.collect(service->getInfos(), like);
    if (!picture.isComplete())
        kxReport::error("%s: more than %zu paths: the picture cannot be compared", path, kxDrawList::kMaxPaths);
    return picture.isComplete();
}

} // namespace

kxPictureResult comparePictures(const char* pathA, const char* pathB, const kxPictureComparison::Options& options,
                                size_t maxLines, kxFileOptions* fileOptions)
{
    kxPictureResult result;
    kxDrawList a, b;
    kxMotionList motionA, motionB;
    if (!collectFile(pathA, fileOptions, a, motionA, nullptr) || !collectFile(pathB, fileOptions, b, motionB, &motionA))
        return result;
    kxPictureComparison comparison(options);
    const bool isSame = comparison.compare(a, b);
    result.answer = isSame ? kxPictureAnswer::SAME : kxPictureAnswer::DIFFERENT;
    result.lines = comparison.describe(a, b, maxLines);
    for (std::string& line : compareMotion(motionA, motionB, options.motionTolerance, maxLines, isSame))
    {
        result.answer = kxPictureAnswer::DIFFERENT;
        result.lines.push_back(std::move(line));
    }
    result.drawCountA = a.getDraws().size();
    result.drawCountB = b.getDraws().size();
    result.onlyInA = comparison.getOnlyInA().size();
    result.onlyInB = comparison.getOnlyInB().size();
    return result;
}

} // namespace Kel::Opt
