// The graphs of a file.
#pragma once

#include "platform/core/kxInfo.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxNode.h"

#include <vector>

namespace Kel::Opt
{

using namespace Kel::Core;
using namespace Kel::Sg;

/// Roots of the graphs that an info holds: that of a scene, those of the skins of an animation database, and the nodes that any
/// other info refers to. Infos that only formats know may hold nodes that stand in no scene; they are part of the file all the
/// same. Null graphs are left out.
std::vector<kxNode*> getGraphRoots(const kxInfo* info);

/// The nodes of all graphs of a file, as they are when this is made.
class kxFileGraphs
{
public:
    /// No infos hold no graphs.
    explicit kxFileGraphs(const kxInfoList* infos);

    /// True when every parent of a node stands in one of the graphs.
    bool holdParentsOf(const kxNode* node) const;

private:
    kxTSerialMap<bool> m_nodes;
};

} // namespace Kel::Opt
