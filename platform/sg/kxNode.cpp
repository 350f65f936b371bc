#include "platform/sg/kxNode.h"

#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxNode)
KX_IMPLEMENT(kxNodeList)
KX_IMPLEMENT(kxNonRefCountedNodeList)

void kxNode::listFields(kxFields<kxNode>& fields)
{
    fields.add(&kxNode::_name, "_name", "name of the node");
    fields.add(&kxNode::_flags, "_flags", "0x40: the node is dynamic, 0x80: it is animated");
    fields.add(&kxNode::_parentList, "_parentList", "groups of which the node is a child")
        .setFlags(kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK);
    fields.add(&kxNode::_boundingVolume, "_boundingVolume", "box around what is drawn below the node");
    fields.add(&kxNode::_userData, "_userData", "what a file says beyond these fields");
}

kxNode::kxNode() = default;

kxNode::~kxNode() = default;

uint32_t kxNode::getParentCount() const
{
    return _parentList ? _parentList->getCount() : 0;
}

kxGroup* kxNode::getParent(uint32_t index) const
{
    return static_cast<kxGroup*>(_parentList->get(index));
}

void kxNode::addParent(kxGroup* parent)
{
    if (!_parentList)
        _parentList = kxNew<kxNonRefCountedNodeList>();
    _parentList->append(parent);
}

void kxNode::removeParent(const kxGroup* parent)
{
    if (_parentList)
        _parentList->remove(parent);
}

} // namespace Kel::Sg
