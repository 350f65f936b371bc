#include "opt/scene/kxCollapseHierarchy.h"

#include "opt/items/kxCollapseNode.h"
#include "opt/items/kxDirectItems.h"
#include "opt/items/kxItemCall.h"
#include "opt/items/kxChildContainer.h"
#include "opt/iterate/kxIterateObject.h"
#include "opt/scene/kxServices.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxCollapseHierarchy)

void kxCollapseHierarchy::listFields(kxFields<kxCollapseHierarchy>& fields)
{
    fields.add(&kxCollapseHierarchy::_nodeType, "_nodeType", "type to collapse; derived types are left alone");
    fields.add(&kxCollapseHierarchy::_traversalName, "_traversalName",
               "item family that gives the parents and children of an object");
}

kxCollapseHierarchy::kxCollapseHierarchy() = default;
kxCollapseHierarchy::~kxCollapseHierarchy() = default;

bool kxCollapseHierarchy::configure(int)
{
    const kxMetaObject* traversal = kxMetaObject::find(_traversalName);
    if (traversal && traversal->isDerivedFrom(kxItemBase::staticMetaObject()))
        return true;
    printf("%s is not a traversal inheriting from kxItemBase\n", _traversalName.c_str());
    return false;
}

bool kxCollapseHierarchy::apply(kxSmartPointer<kxNode>& root)
{
    if (!_nodeType)
        return false;
    const kxSmartPointer<kxIterateObject> walk(new (getCreationMemoryPool()) kxIterateObject);
    walk->_itemInterface = _itemInterface;
    walk->_traversalName = _traversalName;
    walk->setStructureFixed(doesOwnSteps()); // each edit is told
    walk->begin(root);
    while (walk->getCurrent())
    {
        if (isCancelled(*this))
            return false;
        // What replaced the collapsed object stands at the current position: it is treated before the walk goes on.
        if (collapseHierarchy(walk))
            root = kxCast<kxNode>(walk->getFirst());
        else
            walk->getNext();
    }
    return true;
}

bool kxCollapseHierarchy::collapseHierarchy(kxIterateObject* walk)
{
    const kxItemNames& names = kxItemNames::get();
    const kxSmartPointer<kxObject> object = walk->getCurrent();
    if (!object || !object->isOfExactType(_nodeType))
        return false;
    m_rights.object = nullptr;
    m_parents = nullptr;
    if (isLocked(*this, object))
    {
        leaveAlone("locked", object);
        return false;
    }
    if (!canEditHierarchy(object))
    {
        leaveAlone("a parent cannot be edited", object);
        return false;
    }
    kxItemCall call(this, names.collapseNode, object, kxItemCall::SILENT);
    if (!call)
    {
        // The text names the traversal, not the interface that is missing; hosts look for it so.
        printf("the traversal %s does not exist for this object (%s)\n", _traversalName.c_str(), object->getTypeName());
        return false;
    }
    int32_t mode;
    kxSmartPointer<kxObject> replaceNode;
    if (!call.set(names.nodeField, object.get()).run(names.collapse) || !call.get(names.collapseField, mode) ||
        mode == NO_CHANGE || !call.get(names.replaceNodeField, replaceNode))
        return false;

    const kxSmartPointer<kxObjectList> parents = m_parents ? m_parents : getParentList(object);
    if (!parents || (parents->isEmpty() && mode != REPLACE_TREE))
        return false;
    const kxSmartPointer<kxObjectList> children = getChildList(object);
    if (!children)
        return false;

    // An object that could not be taken out everywhere keeps its children: it may still hang under a parent.
    const bool done = editParents(object, mode, replaceNode, *parents, *children);
    if (done)
    {
        for (kxObject* child : *children)
            removeChild(object, child);
        count(mode == REPLACE_TREE ? "nodes replaced" : mode == COLLAPSE_TREE ? "nodes collapsed" : "subtrees pruned");
    }
    if (replaceNode)
        walk->replaceCurrent(replaceNode);
    else if (walk->isNotFirst() && !(done && spliceWalk(walk, mode, *parents, *children)))
    {
        walk->removeLastObject();
        walk->updateChildList();
    }
    return true;
}

// A parent is asked about again behind each child that was taken out: it counts once.
void kxCollapseHierarchy::leaveAlone(const char* reason, const kxObject* object)
{
    bool& left = m_left[object];
    if (!left)
        refuse(reason, object);
    left = true;
}

// What an edit did to the parent on the path, told to the walk: fetching the parent's children again, and walking to
// the place among them again, would cost a step for each of them. False when it is not known what the edit did.
bool kxCollapseHierarchy::spliceWalk(kxIterateObject* walk, int32_t mode, const kxObjectList& parents,
                                     const kxObjectList& children)
{
    if (!doesOwnSteps())
        return false;
    const kxObject* parent = walk->_currentPath->get(walk->_currentPath->getCount() - 2);
    const int first = parents.find(parent);
    if (first < 0 || parents.find(parent, static_cast<uint32_t>(first) + 1) >= 0)
        return false;
    if (mode == COLLAPSE_TREE && children.getCount() == 1)
        return walk->spliceCurrent(children.get(0), nullptr);
    return walk->spliceCurrent(nullptr, mode == COLLAPSE_TREE ? &children : nullptr);
}

// False for a derived optimization, which may edit and ask in another way.
bool kxCollapseHierarchy::doesOwnSteps() const
{
    return isOfExactType(staticMetaObject());
}

// False when the object still hangs under a parent that it should have been taken from. A failure at one parent does
// not keep the others from being edited.
bool kxCollapseHierarchy::editParents(kxObject* object, int32_t mode, kxObject* replaceNode,
                                      const kxObjectList& parents, const kxObjectList& children)
{
    bool done = true;
    for (kxObject* parent : parents)
        switch (mode)
        {
        case REPLACE_TREE:
            if (!replaceNode)
            {
                printf("The interface kxCollapseNode should have provided a replace node for %s\n",
                       object->getTypeName());
                done = false;
            }
            else if (!canReplaceChild(parent))
            {
                printf("The object %s does not support the kxReplaceChild interface\n", parent->getTypeName());
                done = false;
            }
            else
                replaceChild(parent, object, replaceNode);
            break;
        case COLLAPSE_TREE:
            if (children.getCount() == 1 && canReplaceChild(parent))
                replaceChild(parent, object, children.get(0));
            else if (canEditChildList(parent))
            {
                for (kxObject* child : children)
                    addChild(parent, child);
                removeChild(parent, object);
            }
            else
                done = false;
            break;
        case PRUNE_TREE:
            if (canEditChildList(parent))
                removeChild(parent, object);
            break;
        }
    return done;
}

bool kxCollapseHierarchy::canEditHierarchy(kxObject* object)
{
    const kxSmartPointer<kxObjectList> parents = getParentList(object);
    if (!parents || !hasChildList(object))
        return false;
    for (kxObject* parent : *parents)
        if (!canReplaceChild(parent) || !canEditChildList(parent))
            return false;
    if (doesOwnSteps())
        m_parents = parents;
    return true;
}

// The parent of a million children is asked about again behind each of them: its list is not fetched to see that there
// is one.
bool kxCollapseHierarchy::hasChildList(kxObject* object)
{
    if (doesOwnSteps() && _itemInterface &&
        _itemInterface->getRegisteredItemBase(_traversalName, object->getMetaObject()) ==
            kxNodeTraversal::staticMetaObject())
        return true;
    return getChildList(object);
}

kxSmartPointer<kxObjectList> kxCollapseHierarchy::getParentList(kxObject* object)
{
    if (kxSmartPointer<kxObjectList> parents; kxDirectItems(*this).getParentList(_traversalName, object, parents))
        return parents;
    return getObjectList(object, kxItemNames::get().getParentList, kxItemNames::get().parentListField);
}

kxSmartPointer<kxObjectList> kxCollapseHierarchy::getChildList(kxObject* object)
{
    if (kxSmartPointer<kxObjectList> children; kxDirectItems(*this).getChildList(_traversalName, object, children))
        return children;
    return getObjectList(object, kxItemNames::get().getChildList, kxItemNames::get().childListField);
}

kxSmartPointer<kxObjectList> kxCollapseHierarchy::getObjectList(kxObject* object, kxStringRef functionName,
                                                                kxStringRef resultField)
{
    kxItemCall call(this, _traversalName, object, kxItemCall::TRAVERSAL);
    if (!call || !call.set(kxItemNames::get().containerField, object).run(functionName))
        return nullptr;
    return call.getList(resultField);
}

void kxCollapseHierarchy::removeChild(kxObject* container, kxObject* child)
{
    m_rights.object = nullptr;
    if (kxDirectItems(*this).removeChild(container, child))
        return;
    childContainer(kxItemNames::get().removeChild, container, child);
}

void kxCollapseHierarchy::addChild(kxObject* container, kxObject* child)
{
    m_rights.object = nullptr;
    if (kxDirectItems(*this).addChild(container, child))
        return;
    childContainer(kxItemNames::get().addChild, container, child);
}

void kxCollapseHierarchy::childContainer(kxStringRef functionName, kxObject* container, kxObject* child)
{
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(this, names.childEdit, container);
    if (call)
        call.set(names.containerField, container).set(names.childField, child).run(functionName);
}

void kxCollapseHierarchy::replaceChild(kxObject* container, kxObject* oldChild, kxObject* newChild)
{
    const kxItemNames& names = kxItemNames::get();
    m_rights.object = nullptr;
    if (kxDirectItems(*this).replaceChild(container, oldChild, newChild))
        return;
    kxItemCall call(this, names.replaceChildItem, container);
    if (call)
        call.set(names.containerField, container)
            .set(names.oldChildField, oldChild)
            .set(names.newChildField, newChild)
            .run(names.replaceChild);
}

const kxCollapseHierarchy::Rights& kxCollapseHierarchy::getRights(kxObject* object)
{
    if (object && object == m_rights.object)
        return m_rights;
    m_rights = {};
    if (kxDirectItems::Property property; askProperty(*this, object, property))
        m_rights = {object, property.canReplaceChild, property.canAddChild && property.canRemoveChild};
    return m_rights;
}

bool kxCollapseHierarchy::canEditChildList(kxObject* object)
{
    return getRights(object).edit;
}

bool kxCollapseHierarchy::canReplaceChild(kxObject* object)
{
    return getRights(object).replace;
}

} // namespace Kel::Opt
