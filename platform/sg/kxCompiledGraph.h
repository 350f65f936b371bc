// Group whose drawing is recorded once.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// How a compiled graph uses the render state that it meets.
enum class PriorStateUsage : int32_t
{
    kNotUsed = 0,
    kUsed = 1,
    kUsedAndRestored = 2
};
const kxMetaEnum& kxMetaEnumOf(PriorStateUsage);

/// Records how its children are drawn and replays it; closed to changes.
class kxCompiledGraph : public kxGroup
{
    KX_OBJECT(kxCompiledGraph, kxGroup)
    static void listFields(kxFields<kxCompiledGraph>& fields);

    PriorStateUsage _priorStateUsage = PriorStateUsage::kUsedAndRestored;
};

} // namespace Kel::Sg
