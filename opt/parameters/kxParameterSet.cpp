#include "opt/parameters/kxParameterSet.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace Kel::Opt
{

KX_IMPLEMENT(kxParameterSet)
KX_IMPLEMENT(kxParameterSetList)

void kxParameterSet::listFields(kxFields<kxParameterSet>& fields)
{
    // Values hold addresses and belong to one call: what travels to copies and files are the links.
    constexpr uint32_t kOfThisSet = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED;
    fields.add(&kxParameterSet::_dynamicMeta, "_dynamicMeta", "class that lists the fields").setFlags(kOfThisSet);
    fields.add(&kxParameterSet::_data, "_data", "values of the fields, once asked for as a block").setFlags(kOfThisSet);
    fields.add(&kxParameterSet::_parameterSetList, "_parameterSetList",
               "for each linked field, the set it is linked to");
    fields.add(&kxParameterSet::_fieldNameList, "_fieldNameList", "names of the linked fields, sorted by identity");
    fields.add(&kxParameterSet::_sourceNameList, "_sourceNameList", "for each linked field, the field it is linked to");
}

kxParameterSet::kxParameterSet() : m_layout(kxParameterLayout::getEmpty())
{
    _dynamicMeta = m_layout->getMetaObject();
}

kxParameterSet::~kxParameterSet()
{
    char* bytes = static_cast<char*>(values());
    for (const kxParameterLayout::Slot& slot : m_layout->getSlots())
        slot.field->destroyValue(bytes + slot.offset);
    if (m_values != m_inline)
        kxMemoryPool::release(m_values, m_capacity);
    if (!m_layout->isShared())
        delete m_layout;
}

void kxParameterSet::grow(uint32_t byteCount)
{
    if (_data)
    {
        const size_t used = _data->getSize();
        const std::vector<char> kept(static_cast<char*>(m_blockValues), static_cast<char*>(m_blockValues) + used);
        _data->resize(byteCount);
        m_blockValues = _data->getWritableData();
        std::copy(kept.begin(), kept.end(), static_cast<char*>(m_blockValues));
        return;
    }
    uint32_t capacity = m_capacity;
    while (capacity < byteCount)
        capacity *= 2;
    void* grown = kxMemoryPool::getDefault().allocate(capacity);
    std::memcpy(grown, m_values, m_capacity);
    if (m_values != m_inline)
        kxMemoryPool::release(m_values, m_capacity);
    m_values = grown;
    m_capacity = capacity;
}

void kxParameterSet::constructFrom(size_t firstSlot)
{
    const uint32_t byteCount = m_layout->getByteCount();
    if (byteCount > (_data ? _data->getSize() : m_capacity))
        grow(byteCount);
    char* bytes = static_cast<char*>(values());
    for (const kxParameterLayout::Slot& slot : m_layout->getSlots().subspan(firstSlot))
        slot.field->constructValue(bytes + slot.offset);
}

void kxParameterSet::useLayout(const kxParameterLayout* layout)
{
    m_layout = layout;
    _dynamicMeta = layout->getMetaObject();
}

kxParameterLayout* kxParameterSet::ownLayout()
{
    if (m_layout->isShared())
        useLayout(m_layout->makeOwn());
    return const_cast<kxParameterLayout*>(m_layout);
}

const kxParameterLayout::Slot* kxParameterSet::addSlot(const kxMetaObject* fieldType, kxStringRef name)
{
    if (name.isNull() || !fieldType)
        return nullptr;
    const size_t index = m_layout->getSlots().size();
    if (const kxParameterLayout* extended = m_layout->findExtended(fieldType, name))
        useLayout(extended);
    else if (fieldType->isAbstract() || !fieldType->isDerivedFrom(kxMetaField::staticMetaObject()))
        return nullptr;
    else if ((extended = m_layout->extend(fieldType, name)))
        useLayout(extended);
    else
        ownLayout()->addField(fieldType, name);
    constructFrom(index);
    return &m_layout->getSlots()[index];
}

const kxMetaField* kxParameterSet::findField(kxStringRef name) const
{
    const kxParameterLayout::Slot* slot = m_layout->find(name);
    return slot ? slot->field : nullptr;
}

const kxMetaField* kxParameterSet::findField(int index) const
{
    return index >= 0 && index < getFieldCount() ? m_layout->getSlots()[static_cast<size_t>(index)].field : nullptr;
}

kxMetaField* kxParameterSet::getField(int index)
{
    if (index < 0 || index >= getFieldCount())
        return nullptr;
    return ownLayout()->getSlots()[static_cast<size_t>(index)].field;
}

kxMetaField* kxParameterSet::getField(const char* name)
{
    const kxStringRef pooled(name);
    return m_layout->find(pooled) ? ownLayout()->find(pooled)->field : nullptr;
}

kxMetaField* kxParameterSet::getField(const kxMetaObject* fieldType, const char* name)
{
    if (kxMetaField* field = getField(name))
        return field;
    return createField(fieldType, name);
}

kxSmartPointer<kxMetaField> kxParameterSet::createField(const kxMetaObject* fieldType, const char* name)
{
    const kxStringRef pooled(name);
    if (const kxParameterLayout::Slot* slot = m_layout->find(pooled))
        return slot->type == fieldType ? ownLayout()->find(pooled)->field : nullptr;
    if (!addSlot(fieldType, pooled))
        return nullptr;
    return ownLayout()->find(pooled)->field;
}

kxResult kxParameterSet::getFieldValue(kxStringRef name, void* destination, const kxMetaObject* fieldType) const
{
    const kxParameterLayout::Slot* slot = m_layout->find(name);
    if (!slot || (slot->type != fieldType && !slot->type->isDerivedFrom(fieldType)))
        return kFailure;
    // Bytes, also of a reference: the destination is a plain pointer and holds nothing.
    std::memcpy(destination, static_cast<const char*>(values()) + slot->offset, slot->size);
    return kSuccess;
}

kxResult kxParameterSet::getFieldValue(const char* name, void* destination, const kxMetaObject* fieldType) const
{
    return getFieldValue(kxStringRef(name), destination, fieldType);
}

kxResult kxParameterSet::getFieldValue(const kxMetaField* field, void* destination) const
{
    return field ? getFieldValue(field->getName(), destination, field->getMetaObject()) : kFailure;
}

kxResult kxParameterSet::setFieldValue(kxStringRef name, const void* source, const kxMetaObject* fieldType)
{
    const kxParameterLayout::Slot* slot = m_layout->find(name);
    if (!slot)
        slot = addSlot(fieldType, name);
    if (!slot || (slot->type != fieldType && !slot->type->isDerivedFrom(fieldType)))
        return kFailure;
    slot->field->copyValue(static_cast<char*>(values()) + slot->offset, source);
    return kSuccess;
}

kxResult kxParameterSet::setFieldValue(const char* name, const void* source, const kxMetaObject* fieldType)
{
    return setFieldValue(kxStringRef(name), source, fieldType);
}

kxResult kxParameterSet::setFieldSource(const char* fieldName, const char* sourceFieldName, kxParameterSet* sourceSet)
{
    if (!fieldName || !sourceFieldName)
        return kFailure;
    if (!_fieldNameList || !_sourceNameList || !_parameterSetList)
    {
        _fieldNameList = kxNew<kxStringRefList>();
        _sourceNameList = kxNew<kxStringRefList>();
        _parameterSetList = kxNew<kxParameterSetList>();
    }
    const kxStringRef name(fieldName);
    uint32_t index = 0;
    while (index < _fieldNameList->getCount() && _fieldNameList->get(index) < name)
        ++index;
    if (index < _fieldNameList->getCount() && _fieldNameList->get(index) == name)
        return kFailure;
    _fieldNameList->insert(index, name);
    _parameterSetList->insert(index, sourceSet);
    _sourceNameList->insert(index, sourceFieldName);
    return kSuccess;
}

kxResult kxParameterSet::resolveFieldSource()
{
    const uint32_t count = _fieldNameList ? _fieldNameList->getCount() : 0;
    for (uint32_t i = 0; i < count; ++i)
    {
        const kxParameterSet* source = _parameterSetList->get(i);
        const kxParameterLayout::Slot* slot = source ? source->m_layout->find(_sourceNameList->get(i)) : nullptr;
        if (!slot)
            return kFailure;
        // The field is made before its value is fetched: a set may be linked to itself, and its values move as it
        // grows.
        const kxStringRef name = _fieldNameList->get(i);
        const kxMetaObject* type = slot->type;
        const uint32_t offset = slot->offset;
        if (!hasField(name) && !addSlot(type, name))
            return kFailure;
        if (setFieldValue(name, static_cast<const char*>(source->values()) + offset, type) != kSuccess)
            return kFailure;
    }
    return kSuccess;
}

kxMemoryBlock* kxParameterSet::getData()
{
    if (!_data)
    {
        const kxSmartPointer<kxMemoryBlock> block = kxMemoryBlock::create(m_layout->getByteCount());
        m_blockValues = block->getWritableData();
        // The references move with their bytes.
        if (block->getSize())
            std::memcpy(m_blockValues, m_values, block->getSize());
        _data = block;
    }
    return _data;
}

void kxParameterSet::userResetFields()
{
    if (m_layout->isShared())
        return;
    const size_t known = m_layout->getSlots().size();
    ownLayout()->adoptNewFields();
    constructFrom(known);
}

bool kxParameterSetWrapper::hasSucceeded() const
{
    static const kxStringRef name = kxParameterSet::succeed;
    int32_t value = 0;
    return m_set && m_set->getFieldValue(name, value) == kSuccess && value != 0;
}

void kxParameterSetWrapper::setSucceed(int32_t value)
{
    static const kxStringRef name = kxParameterSet::succeed;
    if (m_set)
        m_set->setFieldValue(name, value);
}

void kxParameterSetWrapper::setErrorMessage(kxStringRef message)
{
    static const kxStringRef name = kxParameterSet::errorMessage;
    if (m_set)
        m_set->setFieldValue(name, message);
}

void kxParameterSetWrapper::formatErrorMessage(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list measured;
    va_copy(measured, arguments);
    std::string text(static_cast<size_t>(std::max(0, std::vsnprintf(nullptr, 0, format, measured))), '\0');
    va_end(measured);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    setErrorMessage(text);
}

const char* kxParameterSetWrapper::getErrorMessage() const
{
    static const kxStringRef name = kxParameterSet::errorMessage;
    kxStringRef message;
    if (m_set)
        m_set->getFieldValue(name, message);
    return message.c_str();
}

} // namespace Kel::Opt
