// Gives names to nodes that have none.
#pragma once

#include "opt/iterate/kxOptTraverseGraph.h"

#include <map>

namespace Example
{

using namespace Kel::Opt;

/// Names every unnamed node after its type, with a number, so that reports can say which one they mean. Takes the settings of
/// every traversal: `nodeType`, `exactType`, `firstNodeName`.
class kxNameNodes : public kxOptTraverseGraph
{
    KX_OBJECT(kxNameNodes, kxOptTraverseGraph)
    static void listFields(kxFields<kxNameNodes>& fields);

    kxStringRef _prefix{""};

    bool configure(int section) override;
    bool preTraverse() override;
    GRAPH_TRAVERSAL dispatch(kxSmartPointer<kxNode>& node) override;

private:
    std::map<std::string, int> m_lastNumbers; // by type
};

} // namespace Example
