#include "platform/sg/kxCompiledGraph.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxCompiledGraph)

void kxCompiledGraph::listFields(kxFields<kxCompiledGraph>& fields)
{
    fields.add(&kxCompiledGraph::_priorStateUsage, "_priorStateUsage", "how the render state before the graph is used");
}

const kxMetaEnum& kxMetaEnumOf(PriorStateUsage)
{
    static const kxMetaEnum metaEnum("PriorStateUsage", {{"kNotUsed", 0}, {"kUsed", 1}, {"kUsedAndRestored", 2}});
    return metaEnum;
}

} // namespace Kel::Sg
