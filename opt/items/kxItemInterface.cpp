#include "opt/items/kxItemInterface.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/iterate/kxIterateDerived.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"

#include <algorithm>

namespace Kel::Opt
{

KX_IMPLEMENT(kxItemInterface)
KX_IMPLEMENT(kxItemDataBaseList)
KX_IMPLEMENT(kxItemDataBaseField)
KX_IMPLEMENT(kxItemManager)

bool operator<(const kxItemDataBase& a, const kxItemDataBase& b)
{
    const uint32_t first = a.interfacedType ? a.interfacedType->getSerial() : 0;
    const uint32_t second = b.interfacedType ? b.interfacedType->getSerial() : 0;
    return first < second;
}

int kxItemDataBase::compareByName(const kxItemDataBase& a, const kxItemDataBase& b)
{
    const uint32_t first = a.getInterfacedName().getNumber();
    const uint32_t second = b.getInterfacedName().getNumber();
    return first < second ? -1 : second < first ? 1 : 0;
}

kxStringRef kxItemDataBase::getInterfacedName() const
{
    return interfacedType ? interfacedType->getName() : kxStringRef();
}

void kxItemInterface::listFields(kxFields<kxItemInterface>& fields)
{
    fields.add(&kxItemInterface::_itemDataBaseList, "_itemDataBaseList", "reserved");
    fields.add(&kxItemInterface::_metaList, "_metaList", "types with items, sorted by identity");
    fields.add(&kxItemInterface::_itemList, "_itemList", "for each type, its item classes");
    fields.add(&kxItemInterface::_itemNameList, "_itemNameList",
               "for each type, the interface names of its item classes, sorted by identity");
    fields.add(&kxItemInterface::_currentKnownItem, "_currentKnownItem", "number of item classes at the last scan");
}

kxItemInterface::kxItemInterface() = default;
kxItemInterface::~kxItemInterface() = default;

void kxItemInterface::userResetFields()
{
    _itemInterface = this;
}

namespace
{

/// What an item class said of itself.
struct Registration
{
    kxMetaObject* itemClass;
    kxStringRef interfaceName;
    kxMetaObject* objectType;
    bool recursive;
    uint32_t depth; // of the object type below the root class
};

uint32_t depthOf(const kxMetaObject* type)
{
    uint32_t depth = 0;
    while ((type = type->getBase()))
        ++depth;
    return depth;
}

} // namespace

void kxItemInterface::updateItemList()
{
    kxMetaObject* base = kxRegisterClass<kxItemBase>("kxItemBase", "base of every item");
    const uint32_t itemCount = base->getDerivedCount();
    // Types of the scene that are registered later count as well: a plug-in's nodes have the items of their base class.
    const auto typeCount = static_cast<uint32_t>(kxMetaObject::getAll().size());
    if (itemCount == _currentKnownItem && typeCount == m_knownTypeCount)
        return;
    _currentKnownItem = itemCount;
    m_knownTypeCount = typeCount;

    std::vector<Registration> registrations;
    const auto iterate = kxNew<kxIterateDerived>();
    for (kxMetaObject* itemClass = iterate->begin(base); itemClass; itemClass = iterate->getNext())
    {
        const auto item = itemClass->createInstanceRef<kxItemBase>();
        if (!item)
            continue;
        kxMetaObject* objectType = item->getInterfacedType();
        const bool recursive = item->getRecursiveInterface();
        const bool isRegistered = item->getRegisterInterface();
        const kxStringRef interfaceName = item->getInterfaceName();
        if (isRegistered && objectType)
            registrations.push_back({itemClass, interfaceName, objectType, recursive, depthOf(objectType)});
    }
    // The later registration of a pair wins: from bases to derived types, for derived types before for the type alone,
    // so that the more specific item stays.
    std::stable_sort(registrations.begin(), registrations.end(),
                     [](const Registration& a, const Registration& b)
                     { return a.depth != b.depth ? a.depth < b.depth : a.recursive && !b.recursive; });
    for (const Registration& r : registrations)
    {
        if (r.recursive)
            appendInterfaceForTypes(r.interfaceName, r.objectType, r.itemClass);
        else
            appendInterfaceForType(r.interfaceName, r.objectType, r.itemClass);
    }
}

int kxItemInterface::findRow(const kxMetaObject* objectType) const
{
    // The noted place is a hint: it is right when the type stands there.
    const uint32_t index = objectType->getIndex();
    if (index < m_rows.size() && m_rows[index] < _metaList->getCount() && _metaList->get(m_rows[index]) == objectType)
        return static_cast<int>(m_rows[index]);
    return _metaList->findSorted(objectType);
}

void kxItemInterface::appendInterfaceForType(kxStringRef interfaceName, kxMetaObject* objectType,
                                             kxMetaObject* itemClass)
{
    if (!objectType)
        return;
    int row = _metaList->findSorted(objectType);
    if (row < 0)
    {
        _metaList->insertSorted(objectType);
        row = _metaList->findSorted(objectType);
        _itemNameList->insert(static_cast<uint32_t>(row), kxNew<kxStringRefList>());
        _itemList->insert(static_cast<uint32_t>(row), kxNew<kxMetaObjectList>());
        m_rows.clear();
    }
    kxStringRefList* names = _itemNameList->get(static_cast<uint32_t>(row));
    kxMetaObjectList* items = _itemList->get(static_cast<uint32_t>(row));
    uint32_t place = 0;
    while (place < names->getCount() && names->get(place) < interfaceName)
        ++place;
    if (place < names->getCount() && names->get(place) == interfaceName)
        items->set(place, itemClass);
    else
    {
        names->insert(place, interfaceName);
        items->insert(place, itemClass);
    }
}

void kxItemInterface::appendInterfaceForTypes(kxStringRef interfaceName, kxMetaObject* objectType,
                                              kxMetaObject* itemClass)
{
    const auto iterate = kxNew<kxIterateDerived>();
    for (kxMetaObject* type = iterate->begin(objectType); type; type = iterate->getNext())
        appendInterfaceForType(interfaceName, type, itemClass);
}

kxMetaObject* kxItemInterface::getRegisteredItemBase(kxStringRef interfaceName, const kxMetaObject* objectType)
{
    updateItemList();
    const int row = objectType ? findRow(objectType) : -1;
    if (row < 0)
        return nullptr;
    const auto place = static_cast<uint32_t>(row);
    if (objectType->getIndex() >= m_rows.size())
        m_rows.resize(objectType->getIndex() + 1);
    m_rows[objectType->getIndex()] = place;
    const int name = _itemNameList->get(place)->find(interfaceName);
    return name < 0 ? nullptr : _itemList->get(place)->get(static_cast<uint32_t>(name));
}

void kxItemInterface::setRegisteredItemBase(kxStringRef interfaceName, const kxMetaObject* objectType,
                                            kxMetaObject* itemClass)
{
    const int row = objectType ? findRow(objectType) : -1;
    const int name = row < 0 ? -1 : _itemNameList->get(static_cast<uint32_t>(row))->find(interfaceName);
    if (name >= 0)
        _itemList->get(static_cast<uint32_t>(row))->set(static_cast<uint32_t>(name), itemClass);
}

kxSmartPointer<kxItemBase> kxItemInterface::createItemBase(const kxMetaObject* interfaceClass, kxMetaObject* objectType)
{
    return createItemBase(interfaceClass ? interfaceClass->getName() : kxStringRef(), objectType);
}

kxSmartPointer<kxItemBase> kxItemInterface::createItemBase(kxStringRef interfaceName, kxMetaObject* objectType)
{
    const kxMetaObject* itemClass = getRegisteredItemBase(interfaceName, objectType);
    if (!itemClass)
        return nullptr;
    kxSmartPointer<kxItemBase> item = itemClass->createInstanceRef<kxItemBase>();
    if (item)
    {
        // What `setupInterfaced` does between the two, without a look at their fields; this is the inner loop of
        // everything.
        item->_optInterface = _optInterface;
        item->_itemInterface = this;
        item->_listenerInterface = _listenerInterface;
        item->_messageInterface = _messageInterface;
        item->_lockInterface = _lockInterface;
        item->_logInterface = _logInterface;
    }
    return item;
}

kxItemTable& kxItemInterface::getItemTable(kxItemBase* item)
{
    const uint32_t index = item->getMetaObject()->getIndex();
    if (index >= m_tables.size())
        m_tables.resize(index + 1);
    std::unique_ptr<kxItemTable>& table = m_tables[index];
    if (table && table->isCurrent())
        return *table;
    if (table)
        m_retiredTables.push_back(std::move(table));
    // Asking the item may ask for other tables, and move this place.
    auto made = std::make_unique<kxItemTable>(item);
    return *(m_tables[index] = std::move(made));
}

} // namespace Kel::Opt
