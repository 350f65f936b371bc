#include "platform/core/kxClassReferences.h"

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxObjectList.h"

namespace Kel::Core
{

const kxClassReferences& kxClassReferencesTable::add(const kxMetaObject* type)
{
    std::unique_ptr<kxClassReferences>& known = m_all[type];
    if (!known)
    {
        known = std::make_unique<kxClassReferences>();
        known->type = type;
        if (type->isDerivedFrom(kxObjectList::staticMetaObject()))
            known->role = kxClassReferences::OBJECT_LIST;
        else if (type->isDerivedFrom(kxListBase::staticMetaObject()))
            known->role = kxClassReferences::VALUE_LIST;
        else if (type->isDerivedFrom(kxMemoryBlock::staticMetaObject()))
            known->role = kxClassReferences::MEMORY;
        else if (type->isDerivedFrom(kxMetaObject::staticMetaObject()) ||
                 type->isDerivedFrom(kxMetaField::staticMetaObject()))
            known->role = kxClassReferences::CLASS;
        for (const kxMetaField* field : type->getFields())
            if (field->getKind() == kxFieldKind::OBJECT || field->getKind() == kxFieldKind::MEMORY)
                (field->hasFlag(kxMetaField::LINK_BACK) ? known->linksBack : known->fields)
                    .push_back(static_cast<const kxObjectField*>(field));
    }
    // A type made for one record alone shares its index with a registered one; such types stay out of the quick table.
    const size_t index = type->getIndex();
    if (index < kxMetaObject::getAll().size() && kxMetaObject::getAll()[index] == type)
    {
        if (index >= m_byIndex.size())
            m_byIndex.resize(kxMetaObject::getAll().size());
        m_byIndex[index] = known.get();
    }
    return *known;
}

} // namespace Kel::Core
