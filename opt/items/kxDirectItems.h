// What the library's own items do, without calling them.
#pragma once

#include "opt/framework/kxInterfaced.h"
#include "opt/framework/kxOptNames.h"
#include "opt/items/kxItemCall.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

/// Does what an item would do, where the registry names exactly the library's own item for an object: the generic
/// optimizations ask the same few questions of every node of a scene. Each function gives false, and has done nothing,
/// where another class of items is registered or the item would fail: then the caller calls the item.
class kxDirectItems
{
public:
    /// `client` is who would call the items, with their interfaces; it must outlive this.
    explicit kxDirectItems(const kxInterfaced& client) : m_client(client) {}

    /// Answers of a property item that knows nothing but the object's type.
    struct Property
    {
        bool canAddChild = false;
        bool canRemoveChild = false;
        bool canReplaceChild = false;
        bool canAddAttr = false;
        bool canRemoveAttr = false;
        bool canReplaceAttr = false;
    };
    bool getProperty(const kxObject* object, Property& property) const;

    /// A new list, as the traversal gives it.
    bool getChildList(kxStringRef traversalName, kxObject* object, kxSmartPointer<kxObjectList>& children) const;
    bool getParentList(kxStringRef traversalName, kxObject* object, kxSmartPointer<kxObjectList>& parents) const;
    bool getAttrList(kxObject* object, kxSmartPointer<kxAttrList>& attrs) const;

    bool addChild(kxObject* container, kxObject* child) const;
    bool removeChild(kxObject* container, kxObject* child) const;
    bool replaceChild(kxObject* container, kxObject* oldChild, kxObject* newChild) const;
    bool replaceAttr(kxObject* container, kxAttr* oldAttr, kxAttr* newAttr) const;

    bool compare(kxAttr* a, kxAttr* b, bool& alike) const;

private:
    bool isServedBy(kxStringRef interfaceName, const kxObject* object, const kxMetaObject* itemClass) const;

    const kxInterfaced& m_client;
};

/// What may be done with an object, from the library's item without a call or from another by one. False, with the message
/// of a missing or failed item printed through `client`, when nobody says; then nothing may be done.
bool askProperty(kxInterfaced& client, kxObject* object, kxDirectItems::Property& property);

/// New list of the attributes of an object, in the same way; null when nobody says, or the answer is no list of attributes.
kxSmartPointer<kxAttrList> askAttrList(kxInterfaced& client, kxObject* object, kxItemCall::Missing missing);

} // namespace Kel::Opt
