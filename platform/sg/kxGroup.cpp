#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxGroup)
KX_IMPLEMENT(kxGroupList)

void kxGroup::listFields(kxFields<kxGroup>& fields)
{
    fields.add(&kxGroup::_childList, "_childList", "the children, in order");
}

kxGroup::~kxGroup()
{
    removeAllChildren();
}

kxNodeList* kxGroup::getChildList() const
{
    if (!_childList)
        _childList = kxNew<kxNodeList>();
    return _childList;
}

void kxGroup::insertChild(uint32_t index, kxNode* node)
{
    getChildList()->insert(index, node);
    if (node)
        node->addParent(this);
}

void kxGroup::removeChild(uint32_t index)
{
    // The link back goes first: the list may hold the last reference to the child.
    if (kxNode* node = _childList->get(index))
        node->removeParent(this);
    _childList->removeAt(index);
}

bool kxGroup::removeChild(const kxNode* node)
{
    // By value: a list of many children then loses them in any order without moving the others.
    const kxSmartPointer<kxNode> held = const_cast<kxNode*>(node);
    if (!_childList || !_childList->remove(node))
        return false;
    if (held)
        held->removeParent(this);
    return true;
}

void kxGroup::setChild(uint32_t index, kxNode* node)
{
    const kxSmartPointer<kxNode> old = _childList->get(index);
    _childList->set(index, node);
    if (old)
        old->removeParent(this);
    if (node)
        node->addParent(this);
}

void kxGroup::removeAllChildren()
{
    if (!_childList)
        return;
    for (kxNode* node : *_childList)
        if (node)
            node->removeParent(this);
    _childList->clear();
}

void kxGroup::userLoaded()
{
    if (!_childList)
        return;
    for (kxNode* node : *_childList)
        if (node)
            node->addParent(this);
}

} // namespace Kel::Sg
