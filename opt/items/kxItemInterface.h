// Which item serves which type.
#pragma once

#include "opt/framework/kxInterfaced.h"
#include "platform/core/kxTCompoundList.h"

namespace Kel::Opt
{

/// One record of the reserved list; compared by its first reference.
struct kxItemDataBase
{
    kxSmartPointer<kxMetaObject> interfacedType;
    kxSmartPointer<kxObject> second;
    kxSmartPointer<kxObject> third;

    friend bool operator==(const kxItemDataBase& a, const kxItemDataBase& b)
    {
        return a.interfacedType.get() == b.interfacedType.get();
    }
    friend bool operator<(const kxItemDataBase& a, const kxItemDataBase& b);
    friend bool operator>(const kxItemDataBase& a, const kxItemDataBase& b) { return b < a; }

    /// Orders by the pooled name of the type; a null type counts as a null name.
    static int compareByName(const kxItemDataBase& a, const kxItemDataBase& b);
    kxStringRef getInterfacedName() const;
};

class kxItemDataBaseList : public kxObject
{
    KX_OBJECT(kxItemDataBaseList, kxObject)

    kxTCompoundList<kxItemDataBase> m_records;
};

/// The registry of items: by interface name and exact type of the object.
class kxItemInterface : public kxInterfaced
{
    KX_OBJECT(kxItemInterface, kxInterfaced)
    static void listFields(kxFields<kxItemInterface>& fields);

    kxSmartPointer<kxItemDataBaseList> _itemDataBaseList = kxNew<kxItemDataBaseList>();
    kxSmartPointer<kxMetaObjectList> _metaList = kxNew<kxMetaObjectList>();
    kxSmartPointer<kxMetaObjectListList> _itemList = kxNew<kxMetaObjectListList>();
    kxSmartPointer<kxStringRefListList> _itemNameList = kxNew<kxStringRefListList>();
    uint32_t _currentKnownItem = 0;

    /// Points the registry's own `_itemInterface` at itself.
    void userResetFields() override;
};

} // namespace Kel::Opt
