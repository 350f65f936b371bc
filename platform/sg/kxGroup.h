// Node with ordered children.
#pragma once

#include "platform/sg/kxNode.h"

namespace Kel::Sg
{

/// A node with ordered children, which it holds. A node may be a child of several groups, and of one group several times.
/// Null children are allowed and draw nothing. The operations keep the children's parent lists in agreement; they do not
/// look for cycles.
class kxGroup : public kxNode
{
    KX_OBJECT(kxGroup, kxNode)
    static void listFields(kxFields<kxGroup>& fields);

    mutable kxSmartPointer<kxNodeList> _childList; ///< null until there is a child or somebody asks for the list

    uint32_t getChildCount() const { return _childList ? _childList->getCount() : 0; }
    kxNode* getChild(uint32_t index) const { return _childList->get(index); }
    /// Index of the first child that is `node`, -1 when there is none.
    int getChild(const kxNode* node) const { return _childList ? _childList->find(node) : -1; }
    /// The list of the children, never null. To look at children use `getChild`: most groups of a scene are leaves, and a
    /// walk that asks for their lists makes one for each.
    kxNodeList* getChildList() const;

    void appendChild(kxNode* node) { insertChild(getChildCount(), node); }
    void insertChild(uint32_t index, kxNode* node);
    /// Removes the child at an index.
    void removeChild(uint32_t index);
    /// Removes the first child that is `node`; false when there is none.
    bool removeChild(const kxNode* node);
    /// Puts another node in a child's place.
    void setChild(uint32_t index, kxNode* node);
    void removeAllChildren();

    /// Order query: non-zero when the positions of the children mean something, so that a child can only be replaced in
    /// place.
    virtual int isChildOrderSignificant() const { return 0; }

    /// Rebuilds the children's links to this group.
    void userLoaded() override;

protected:
    ~kxGroup() override;
};

KX_OBJECT_LIST(kxGroupList, kxGroup)

} // namespace Kel::Sg
