// The pictures that a run remembers.
#pragma once

#include "opt/verify/kxDrawList.h"
#include "opt/verify/kxMotionList.h"

#include <map>
#include <memory>

namespace Kel::Opt
{

/// Lies with the optimizer service from the first verification of a run to the end of it.
class kxVerifyMemory : public kxObject
{
    KX_OBJECT(kxVerifyMemory, kxObject)

    /// By scene; null stands for a graph that was given without one. Only looked up: the order means nothing. The
    /// scenes are those of the loaded file, which outlives the run.
    std::map<const kxSceneInfo*, std::shared_ptr<const kxDrawList>> m_pictures;
    std::map<const kxSceneInfo*, std::shared_ptr<const kxMotionList>> m_motions;
};

} // namespace Kel::Opt
