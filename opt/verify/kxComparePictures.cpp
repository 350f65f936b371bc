#include "opt/verify/kxComparePictures.h"

#include "opt/framework/kxOptInterface.h"
#include "platform/core/kxReport.h"

namespace Kel::Opt
{

namespace
{

bool collectFile(const char* path, kxFileOptions* fileOptions, kxDrawList& picture)
{
    const auto service = kxNew<kxOptInterface>();
    service->setFileOptions(fileOptions);
    kxSmartPointer<kxSceneInfo> scene;
    if (!service->loadFile(path, scene))
        return false;
    picture.collect(service->getInfos());
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
    if (!collectFile(pathA, fileOptions, a) || !collectFile(pathB, fileOptions, b))
        return result;
    kxPictureComparison comparison(options);
    result.answer = comparison.compare(a, b) ? kxPictureAnswer::SAME : kxPictureAnswer::DIFFERENT;
    result.lines = comparison.describe(a, b, maxLines);
    result.drawCountA = a.getDraws().size();
    result.drawCountB = b.getDraws().size();
    result.onlyInA = comparison.getOnlyInA().size();
    result.onlyInB = comparison.getOnlyInB().size();
    return result;
}

} // namespace Kel::Opt
