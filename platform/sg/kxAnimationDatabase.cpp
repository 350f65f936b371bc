#include "platform/sg/kxAnimationDatabase.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxAnimationDatabase)

void kxAnimationDatabase::listFields(kxFields<kxAnimationDatabase>& fields)
{
    fields.add(&kxAnimationDatabase::_animationList, "_animationList", "the clips");
    fields.add(&kxAnimationDatabase::_skeletonList, "_skeletonList", "the skeletons");
    fields.add(&kxAnimationDatabase::_skinList, "_skinList", "the skins");
}

} // namespace Kel::Sg
