#include "plugins/example/kxNameNodes.h"

#include "platform/core/kxReport.h"

namespace Example
{

KX_IMPLEMENT(kxNameNodes)

void kxNameNodes::listFields(kxFields<kxNameNodes>& fields)
{
    fields.add(&kxNameNodes::_prefix, "_prefix", "text in front of every name given");
}

bool kxNameNodes::configure(int)
{
    return true;
}

bool kxNameNodes::preTraverse()
{
    m_lastNumbers.clear();
    return true;
}

GRAPH_TRAVERSAL kxNameNodes::dispatch(kxSmartPointer<kxNode>& node)
{
    if (node->getName().isEmpty())
    {
        const std::string type = node->getTypeName();
        node->setName(kxFormat("%s%s%d", _prefix.c_str(), type.substr(2).c_str(), ++m_lastNumbers[type]));
        count("nodes named");
    }
    return RECURSE_TREE;
}

} // namespace Example
