// What instance arrays draw.
#pragma once

#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxNode.h"

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Finds what lies below instance arrays. Each node above is looked at once until `clear`; meanwhile the ways to the nodes that
/// were asked for must stay.
class kxInstancedNodes
{
public:
    /// True for what an instance array draws on any way from a root, whatever scene the way belongs to.
    bool isBelowArray(const kxNode* node);
    void clear() { m_ways.clear(); }

private:
    enum Way : uint8_t
    {
        UNKNOWN,
        PLAIN, ///< or still being looked at
        INSTANCED
    };
    kxTSerialMap<Way> m_ways;
};

} // namespace Kel::Opt
