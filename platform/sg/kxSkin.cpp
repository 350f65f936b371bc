#include "platform/sg/kxSkin.h"

#include "platform/sg/kxSceneInfo.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxSkin)
KX_IMPLEMENT(kxSkinList)

void kxSkin::listFields(kxFields<kxSkin>& fields)
{
    fields.add(&kxSkin::_name, "_name", "name of the skin");
    fields.add(&kxSkin::_joints, "_joints", "the bones, in the order of the vertices' indices");
    fields.add(&kxSkin::_skeletonRoot, "_skeletonRoot", "the node above all bones, where the file names one");
    fields.add(&kxSkin::_inverseBindMatrices, "_inverseBindMatrices",
               "for each bone the matrix from the mesh to the bone at rest, null for identities");
    fields.add(&kxSkin::_skinnedGraph, "_skinnedGraph", "graph drawn with this skin alone, outside every scene");
    fields.add(&kxSkin::_userData, "_userData", "what a file says beyond these fields");
}

bool kxSkin::userCheckLoaded(std::string& fault) const
{
    return checkNoCycle(_skinnedGraph, fault);
}

} // namespace Kel::Sg
