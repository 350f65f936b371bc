#include "opt/items/kxFlattenNode.h"

#include "opt/items/kxItemNames.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxFlattenNode)
KX_IMPLEMENT(kxFlattenNodeForGroup)
KX_IMPLEMENT(kxFlattenNodeForAttrSet)

namespace
{

kxNode* g_flattenRoot = nullptr;

/// True when one of the first attributes of the list sets what `attr` sets.
bool isSet(const kxAttrList* attrs, uint32_t count, const kxAttr* attr)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        const kxAttr* other = attrs->get(i);
        if (other && other->isOfExactType(attr->getMetaObject()) && other->getUnit() == attr->getUnit())
            return true;
    }
    return false;
}

} // namespace

bool kxFlattenNode::getRegisterInterface()
{
    return false;
}

kxNode* kxFlattenNode::getFlattenRoot()
{
    return g_flattenRoot;
}

void kxFlattenNode::setFlattenRoot(kxNode* root)
{
    g_flattenRoot = root;
}

kxSmartPointer<kxParameterSet> kxFlattenNode::collapse(kxParameterSet* input)
{
    if (_node != g_flattenRoot)
        return kxCollapseNodeForNode::collapse(input);
    // The caller holds the graph by this node.
    kxParameterSetWrapper result;
    _replaceNode = nullptr;
    _collapse = NO_CHANGE;
    result.success();
    return result;
}

kxMetaObject* kxFlattenNodeForGroup::getInterfacedType()
{
    return kxGroup::staticMetaObject();
}

HIERARCHY_COLLAPSE kxFlattenNodeForGroup::decide()
{
    return spliceOut(static_cast<kxGroup*>(_node.get()), kMaxNewLinks);
}

kxMetaObject* kxFlattenNodeForAttrSet::getInterfacedType()
{
    return kxAttrSet::staticMetaObject();
}

bool kxFlattenNodeForAttrSet::canTakeAttrs(kxNode* child) const
{
    // A shared child would take the attributes to where this set is not.
    if (child->getParentCount() != 1 || child->isAnimated() || (_lockInterface && _lockInterface->isLocked(child)))
        return false;
    if (child->isOfExactType(kxAttrSet::staticMetaObject()))
        return true;
    // Variants take the place of what the path sets, which the geometry's own attributes would not be.
    if (!child->isOfExactType(kxGeometry::staticMetaObject()))
        return false;
    const auto* geometry = static_cast<const kxGeometry*>(child);
    return !geometry->_variants || geometry->_variants->isEmpty();
}

HIERARCHY_COLLAPSE kxFlattenNodeForAttrSet::decide()
{
    const auto* set = static_cast<kxAttrSet*>(_node.get());
    const kxAttrList* attrs = set->getAttrs();
    const HIERARCHY_COLLAPSE decision = spliceOut(set, kMaxNewLinks);
    if (decision != COLLAPSE_TREE || attrs->isEmpty())
        return decision;

    if (attrs->getCount() > kMaxAttrs)
        return NO_CHANGE;
    for (const kxAttr* attr : *attrs)
    {
        // In the list of a geometry these would be drawn.
        if (attr && (attr->isOfType(kxGeometryAttr::staticMetaObject()) ||
                     attr->isOfType(kxGeometrySetAttr::staticMetaObject()) ||
                     attr->isOfType(kxParticleAttr::staticMetaObject())))
            return NO_CHANGE;
    }
    for (kxNode* child : *set->getChildList())
        if (!canTakeAttrs(child))
            return NO_CHANGE;

    // Behind the child's own, which count where both set the same.
    for (kxNode* child : *set->getChildList())
    {
        auto* target = static_cast<kxAttrSet*>(child);
        const uint32_t ownCount = target->getAttrs()->getCount();
        for (kxAttr* attr : *attrs)
            if (attr && !isSet(target->getAttrs(), ownCount, attr))
                target->appendAttr(attr);
    }
    return COLLAPSE_TREE;
}

} // namespace Kel::Opt
