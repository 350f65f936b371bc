// Takes objects of one type out of the graph.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/core/kxTSerialMap.h"

namespace Kel::Opt
{

class kxIterateObject;

/// Removes or replaces every object of exactly one type. What becomes of each says its collapse item: it stays, another
/// node takes its place, its children do, or it goes with all that is below it. The parents are edited through items
/// too, so that it works for any type that has them.
///
/// Children that take the place of their parent stand where it stood when there is only one, and behind the other
/// children when there are several: the order of children changes.
///
/// Leaves alone: locked objects, and objects with a parent whose children cannot be edited.
class kxCollapseHierarchy : public kxOptBase
{
    KX_OBJECT(kxCollapseHierarchy, kxOptBase)
    static void listFields(kxFields<kxCollapseHierarchy>& fields);

    kxSmartPointer<kxMetaObject> _nodeType;
    kxStringRef _traversalName{"kxNodeTraversal"};

    kxCollapseHierarchy();

    bool configure(int section) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

protected:
    ~kxCollapseHierarchy() override;

    // Steps that a derived optimization may do in another way.

    /// Treats the walk's current object; true when the graph was changed.
    virtual bool collapseHierarchy(kxIterateObject* walk);
    virtual kxSmartPointer<kxObjectList> getParentList(kxObject* object);
    virtual kxSmartPointer<kxObjectList> getChildList(kxObject* object);
    virtual void removeChild(kxObject* container, kxObject* child);
    virtual void replaceChild(kxObject* container, kxObject* oldChild, kxObject* newChild);
    virtual void addChild(kxObject* container, kxObject* child);
    virtual bool canEditChildList(kxObject* object);
    virtual bool canEditHierarchy(kxObject* object);
    virtual bool canReplaceChild(kxObject* object);

private:
    /// What the property item of an object says about its children.
    struct Rights
    {
        const kxObject* object = nullptr;
        bool replace = false;
        bool edit = false;
    };

    const Rights& getRights(kxObject* object);
    kxSmartPointer<kxObjectList> getObjectList(kxObject* object, kxStringRef functionName, kxStringRef resultField);
    void childContainer(kxStringRef functionName, kxObject* container, kxObject* child);
    void leaveAlone(const char* reason, const kxObject* object);
    bool hasChildList(kxObject* object);
    bool doesOwnSteps() const;
    bool spliceWalk(kxIterateObject* walk, int32_t mode, const kxObjectList& parents, const kxObjectList& children);
    bool editParents(kxObject* object, int32_t mode, kxObject* replaceNode, const kxObjectList& parents,
                     const kxObjectList& children);

    kxTSerialMap<bool> m_left; // objects that are reported as left alone
    // Answers of the current step, kept until something is edited: a parent is asked three times, an object twice.
    Rights m_rights;
    kxSmartPointer<kxObjectList> m_parents;
};

} // namespace Kel::Opt
