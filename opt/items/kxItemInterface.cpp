#include "opt/items/kxItemInterface.h"

#include <cstdint>

namespace Kel::Opt
{

KX_IMPLEMENT(kxItemInterface)
KX_IMPLEMENT(kxItemDataBaseList)

bool operator<(const kxItemDataBase& a, const kxItemDataBase& b)
{
    const uint32_t first = a.interfacedType ? a.interfacedType->getIndex() + 1 : 0;
    const uint32_t second = b.interfacedType ? b.interfacedType->getIndex() + 1 : 0;
    return first < second;
}

int kxItemDataBase::compareByName(const kxItemDataBase& a, const kxItemDataBase& b)
{
    return static_cast<int>(a.getInterfacedName().getNumber()) - static_cast<int>(b.getInterfacedName().getNumber());
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
    fields.add(&kxItemInterface::_itemNameList, "_itemNameList", "for each type, the interface names of its item classes");
    fields.add(&kxItemInterface::_currentKnownItem, "_currentKnownItem", "number of item classes at the last scan");
}

void kxItemInterface::userResetFields()
{
    _itemInterface = this;
}

} // namespace Kel::Opt
