#include "platform/core/kxFields.h"

#include <algorithm>
#include <cassert>
#include <unordered_map>

namespace Kel::Core
{

KX_IMPLEMENT(kxMetaObject)

namespace
{

struct TypeTable
{
    std::vector<kxMetaObject*> all;
    std::unordered_map<uint32_t, kxMetaObject*> byName; // key: number of the pooled name
    uint32_t generation = 1;
};

TypeTable& types()
{
    static TypeTable* table = new TypeTable;
    return *table;
}

} // namespace

void kxMetaObject::listFields(kxFields<kxMetaObject>& fields)
{
    fields.add(&kxMetaObject::_name, "_name", "name of the class");
}

kxMetaObject::kxMetaObject()
{
    leaveLiveCount();
    m_ancestors.push_back(this);
    m_derived.push_back(this);
}

kxMetaObject::~kxMetaObject()
{
    for (kxMetaField* field : m_ownFields)
        field->release();
}

kxMetaObject* kxMetaObject::registerType(kxMetaObject* base, const char* name, const char* help, Factory factory)
{
    TypeTable& table = types();
    auto* type = new kxMetaObject;
    type->addRef(); // lives as long as the process
    type->_name = name;
    type->m_help = help;
    type->m_base = base;
    type->m_factory = factory;
    type->m_index = static_cast<uint32_t>(table.all.size());
    if (base)
    {
        type->m_depth = base->m_depth + 1;
        type->m_ancestors = base->m_ancestors;
        type->m_ancestors.push_back(type);
        type->m_fields = base->m_fields;
    }
    for (kxMetaObject* ancestor = base; ancestor; ancestor = ancestor->m_base)
        ancestor->m_derived.push_back(type);
    table.all.push_back(type);
    assert(!table.byName.contains(type->_name.getNumber()) && "two classes of one name");
    table.byName.emplace(type->_name.getNumber(), type);
    ++table.generation;
    return type;
}

void kxMetaObject::addField(kxSmartPointer<kxMetaField> field, const char* name, const char* help, uint32_t offset)
{
    field->_fieldName = name;
    field->m_help = help;
    field->m_owner = this;
    field->m_offset = offset;
    field->addRef();
    m_ownFields.push_back(field);
    m_fields.push_back(field);
}

void kxMetaObject::finishFields()
{
    ++types().generation;
}

kxMetaField* kxMetaObject::findField(kxStringRef name) const
{
    for (kxMetaField* field : m_fields)
        if (field->_fieldName == name)
            return field;
    return nullptr;
}

kxSmartPointer<kxObject> kxMetaObject::createInstance(kxMemoryPool& pool) const
{
    return kxSmartPointer<kxObject>(m_factory ? m_factory(pool) : nullptr);
}

kxMetaField* kxMetaObject::appendField(const kxMetaObject* fieldType, kxStringRef name, const char* help)
{
    if (kxMetaField* existing = findField(name))
        return existing;
    kxSmartPointer<kxMetaField> field = fieldType->createInstanceRef<kxMetaField>();
    if (!field)
        return nullptr;
    field->m_appended = true;
    field->addRef();
    field->_fieldName = name;
    field->m_help = help;
    field->m_owner = this;
    m_ownFields.push_back(field);
    for (kxMetaObject* type : m_derived)
    {
        // Behind the fields of this class and before those of the derived ones, so that the order stays base first.
        auto& list = type->m_fields;
        auto place =
            std::find_if(list.begin(), list.end(),
                         [&](kxMetaField* f) { return f->m_owner != this && f->m_owner->isDerivedFrom(this); });
        list.insert(place, field.get());
    }
    ++types().generation;
    return field;
}

kxSmartPointer<kxMetaObject> kxMetaObject::createRecordType(kxStringRef name)
{
    auto type = kxNew<kxMetaObject>();
    type->_name = name;
    return type;
}

kxMetaField* kxMetaObject::addRecordField(const kxMetaObject* fieldType, kxStringRef name)
{
    kxSmartPointer<kxMetaField> field = fieldType->createInstanceRef<kxMetaField>();
    if (!field)
        return nullptr;
    const size_t alignment = field->getValueAlignment();
    const size_t offset = (m_recordSize + alignment - 1) & ~(alignment - 1);
    addField(field, "", "", static_cast<uint32_t>(offset));
    field->_fieldName = name;
    m_recordSize = offset + field->getValueSize();
    return field;
}

kxMetaObject* kxMetaObject::find(kxStringRef name)
{
    const auto at = types().byName.find(name.getNumber());
    return at == types().byName.end() ? nullptr : at->second;
}

std::span<kxMetaObject* const> kxMetaObject::getAll()
{
    return types().all;
}

uint32_t kxMetaObject::getGeneration()
{
    return types().generation;
}

} // namespace Kel::Core
