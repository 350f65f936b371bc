#include "opt/actor/kxActorClasses.h"

#include "opt/actor/kxOptimizeActorAnimations.h"
#include "opt/actor/kxOptimizeActorKeyframes.h"
#include "opt/actor/kxReduceKeyframes.h"

namespace Kel::Opt
{

void registerActorClasses()
{
    kxRegisterClass<kxOptimizeActorKeyframes>("kxOptimizeActorKeyframes", "removes repeated keys of animations");
    kxRegisterClass<kxOptimizeActorAnimations>("kxOptimizeActorAnimations",
                                               "removes tracks without a bone, shares equal keys of animations");
    kxRegisterClass<kxReduceKeyframes>("kxReduceKeyframes", "removes keys of animations that interpolation gives back");
}

} // namespace Kel::Opt
