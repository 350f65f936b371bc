#include "opt/scene/kxCreateBoundingBoxes.h"

#include "opt/scene/kxServices.h"
#include "platform/sg/kxBoundingBoxesMaker.h"
#include "platform/sg/kxSceneInfo.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxCreateBoundingBoxes)

void kxCreateBoundingBoxes::listFields(kxFields<kxCreateBoundingBoxes>& fields)
{
    fields.add(&kxCreateBoundingBoxes::_optimize, "_optimize",
               "drop new volumes that reject nothing more than those above them");
    fields.add(&kxCreateBoundingBoxes::_removeOldVolumes, "_removeOldVolumes", "remove the existing volumes first");
    fields.add(&kxCreateBoundingBoxes::_createNewVolumes, "_createNewVolumes", "make new volumes");
}

bool kxCreateBoundingBoxes::configure(int)
{
    return true;
}

bool kxCreateBoundingBoxes::canOptimize(kxInfo* info)
{
    const auto* scene = kxCast<kxSceneInfo>(info);
    return scene && canOptimize(scene->getSceneGraph());
}

bool kxCreateBoundingBoxes::applyInfo(kxInfo* info)
{
    auto* scene = kxCast<kxSceneInfo>(info);
    return scene && defaultApplySceneInfo(scene, this);
}

bool kxCreateBoundingBoxes::apply(kxSmartPointer<kxNode>& root)
{
    const kxSmartPointer<kxBoundingBoxesMaker> maker(new (getCreationMemoryPool()) kxBoundingBoxesMaker);
    maker->setCreationMemoryPool(getCreationMemoryPool());
    if (isCancelled(*this))
        return false;
    const kxFlatGraph graph(root);
    if (_removeOldVolumes)
        count("volumes removed", maker->removeAll(graph));
    if (isCancelled(*this))
        return false;
    if (_createNewVolumes)
    {
        count("volumes made", maker->apply(graph));
        if (isCancelled(*this))
            return false;
        if (_optimize)
            count("volumes dropped that reject nothing", maker->optimize(graph));
    }
    return true;
}

} // namespace Kel::Opt
