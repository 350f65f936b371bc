// Which item serves which type.
#pragma once

#include "opt/items/kxItemBase.h"

#include <memory>
#include <vector>

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

/// Field that refers to a list of such records.
class kxItemDataBaseField : public kxObjectField
{
    KX_OBJECT(kxItemDataBaseField, kxObjectField)

    kxItemDataBaseField() : kxObjectField(&kxItemDataBaseList::staticMetaObject) {}
};

/// Reserved.
class kxItemManager : public kxObject
{
    KX_OBJECT(kxItemManager, kxObject)
};

/// The registry of items: gives the item class for an interface name and the exact type of an object.
///
/// The registry asks every item class what it serves, once for as long as no class is registered. Where several classes
/// serve one pair, the one registered for the type itself, or for the nearest base, wins, and of those for one type the
/// one that was registered last: a plug-in takes precedence over the library.
class kxItemInterface : public kxInterfaced
{
    KX_OBJECT(kxItemInterface, kxInterfaced)
    static void listFields(kxFields<kxItemInterface>& fields);

    kxSmartPointer<kxItemDataBaseList> _itemDataBaseList = kxNew<kxItemDataBaseList>(); ///< reserved
    // Parallel lists. The lists in the last two are parallel for each type, sorted by the identity of the interface
    // name.
    kxSmartPointer<kxMetaObjectList> _metaList = kxNew<kxMetaObjectList>(); ///< types with items, sorted by identity
    kxSmartPointer<kxMetaObjectListList> _itemList = kxNew<kxMetaObjectListList>();
    kxSmartPointer<kxStringRefListList> _itemNameList = kxNew<kxStringRefListList>();
    uint32_t _currentKnownItem = 0;

    kxItemInterface();

    /// A new item with the services of the registry, null when no item class serves the pair. The interface is given by
    /// its base class of items.
    virtual kxSmartPointer<kxItemBase> createItemBase(const kxMetaObject* interfaceClass, kxMetaObject* objectType);
    virtual kxSmartPointer<kxItemBase> createItemBase(kxStringRef interfaceName, kxMetaObject* objectType);

    /// Registers an item class for a type, in place of the one that is registered already.
    virtual void appendInterfaceForType(kxStringRef interfaceName, kxMetaObject* objectType, kxMetaObject* itemClass);
    /// Registers it for the type and for all derived from it.
    virtual void appendInterfaceForTypes(kxStringRef interfaceName, kxMetaObject* objectType, kxMetaObject* itemClass);

    /// Item class for a pair; null when there is none. Bases of the type are not looked at.
    kxMetaObject* getRegisteredItemBase(kxStringRef interfaceName, const kxMetaObject* objectType);
    /// Changes the item class of a pair that has one, until the registry next asks all item classes.
    void setRegisteredItemBase(kxStringRef interfaceName, const kxMetaObject* objectType, kxMetaObject* itemClass);

    /// Points the registry's own `_itemInterface` at itself.
    void userResetFields() override;

    /// What the class of `item` declares; valid as long as the registry, though no longer current once classes were
    /// registered.
    kxItemTable& getItemTable(kxItemBase* item);

protected:
    ~kxItemInterface() override;

    /// Asks all item classes what they serve if classes were registered since it was last done.
    void updateItemList();

private:
    int findRow(const kxMetaObject* objectType) const;

    uint32_t m_knownTypeCount = 0;
    std::vector<uint32_t> m_rows; // by index of the type: its place in `_metaList`, as far as known
    std::vector<std::unique_ptr<kxItemTable>> m_tables;        // by index of the item class
    std::vector<std::unique_ptr<kxItemTable>> m_retiredTables; // an item may be running with one
};

} // namespace Kel::Opt
