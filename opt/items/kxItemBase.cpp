// How an item's function is run: inputs into fields, constraints, the function, its result.
#include "opt/items/kxItemBase.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemInterface.h"
#include "opt/items/kxItemNames.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxItemBase)

kxItemTable::kxItemTable(kxItemBase* item)
    : m_generation(kxMetaObject::getGeneration()),
      m_functions(item->getFunctions()),
      m_defaultConstraints(item->getDefaultConstraints()),
      m_ownConstraints(item->getConstraints())
{
    for (const kxMetaField* field : item->getMetaObject()->getFields())
        if (field->hasFlag(kxMetaField::PARAMETER) && field->getOwner()->isDerivedFrom(kxItemBase::staticMetaObject()))
            m_parameters.push_back({field->getName(), field, field->getMetaObject(), kxCast<kxObjectField>(field)});
}

kxItemFunction kxItemTable::findFunction(kxStringRef name) const
{
    const int index = m_functions ? m_functions->m_declarations.findSorted({name, nullptr}) : -1;
    return index >= 0 ? m_functions->get(static_cast<uint32_t>(index)).function : nullptr;
}

void kxItemTable::copyInput(const kxParameterSet* input, kxItemBase* item) const
{
    const kxParameterLayout* layout = input->getLayout();
    const char* values = static_cast<const char*>(input->getValues());
    for (const Parameter& parameter : m_parameters)
    {
        const kxParameterLayout::Slot* slot = layout->find(parameter.name);
        if (!slot || (slot->type != parameter.type && !slot->type->isDerivedFrom(parameter.type)))
            continue;
        const void* value = values + slot->offset;
        void* target = parameter.field->getAddress(item);
        if (!parameter.reference)
            parameter.field->copyValue(target, value);
        else
        {
            // An object of another type counts as none; the item's pointer must not get to see it. A list to be filled
            // stays what the item made it, so that there is a result.
            kxObject* object = parameter.reference->getObject(value);
            const bool accepted = parameter.reference->accepts(object);
            if (!accepted && kxCast<kxObjectList>(parameter.reference->getObject(target)))
                continue;
            parameter.reference->setObject(target, accepted ? object : nullptr);
        }
    }
}

kxParameterSetConstraint* kxItemTable::check(kxParameterSet* input) const
{
    for (const kxParameterSetConstraintList* list : {m_defaultConstraints.get(), m_ownConstraints.get()})
        if (list)
            for (kxParameterSetConstraint* constraint : *list)
                if (constraint && constraint->checkParameter(input) != kSuccess)
                    return constraint;
    return nullptr;
}

kxItemBase::kxItemBase() = default;
kxItemBase::~kxItemBase() = default;

void kxItemBase::userSetupInput(kxParameterSet*) {}

void kxItemBase::userSetupOutput(kxParameterSet*) {}

kxSmartPointer<kxParameterSetConstraintList> kxItemBase::getConstraints()
{
    return nullptr;
}

bool kxItemBase::getRecursiveInterface()
{
    return true;
}

bool kxItemBase::getRegisterInterface()
{
    return true;
}

kxItemTable& kxItemBase::getTable()
{
    if (_itemInterface)
        return _itemInterface->getItemTable(this);
    if (m_ownTables.empty() || !m_ownTables.back()->isCurrent())
        m_ownTables.push_back(std::make_unique<kxItemTable>(this));
    return *m_ownTables.back();
}

kxSmartPointer<kxParameterSet> kxItemBase::apply(kxStringRef functionName, kxParameterSet* input)
{
    kxSmartPointer<kxParameterSet> result;
    const kxItemTable& table = getTable();
    const kxItemFunction function = table.findFunction(functionName);
    if (!function)
    {
        kxParameterSetWrapper failed;
        failed.formatErrorMessage("The function %s is not available for the interface %s\n", functionName.c_str(),
                                  getTypeName());
        result = failed.getValue();
    }
    else
    {
        preApply(input);
        if (const kxParameterSetConstraint* broken = input ? table.check(input) : nullptr)
        {
            kxParameterSetWrapper failed;
            failed.setErrorMessage(broken->getErrorMessage().c_str());
            result = failed.getValue();
        }
        else
        {
            result = (this->*function)(input);
            if (!result)
                result = kxNew<kxParameterSet>();
            postApply(result);
        }
    }
    if (!result->hasField(kxItemNames::get().succeedField))
        kxParameterSetWrapper(result).failure();
    return result;
}

void kxItemBase::preApply(kxParameterSet* input)
{
    if (input)
    {
        input->resolveFieldSource();
        getTable().copyInput(input, this);
    }
    userSetupInput(input);
}

void kxItemBase::postApply(kxParameterSet* result)
{
    userSetupOutput(result);
}

kxParameterSetConstraint* kxItemBase::checkConstraints(kxParameterSet* input)
{
    return input ? getTable().check(input) : nullptr;
}

kxSmartPointer<kxParameterSetConstraintList> kxItemBase::getDefaultConstraints()
{
    auto list = kxNew<kxParameterSetConstraintList>();
    for (const kxMetaObject* type : kxParameterSetConstraint::staticMetaObject()->getDerived())
    {
        auto constraint = type->createInstanceRef<kxParameterSetConstraint>();
        for (kxMetaField* field : getMetaObject()->getFields())
        {
            if (!constraint)
                break;
            // A parameter that is not required may be missing: the field has a default.
            if (type == kxParameterExist::staticMetaObject() && !field->hasFlag(kxMetaField::REQUIRED))
                continue;
            if (!field->getOwner()->isDerivedFrom(kxItemBase::staticMetaObject()) ||
                constraint->setupDefaultConstraint(field) != kSuccess)
                continue;
            list->append(constraint);
            constraint = type->createInstanceRef<kxParameterSetConstraint>();
        }
    }
    return list;
}

kxSmartPointer<kxParameterSetConstraintList> kxItemBase::concatenateConstraints(kxParameterSetConstraintList* first,
                                                                                kxParameterSetConstraintList* second)
{
    if (first && second)
        first->append(*second);
    return first ? first : second;
}

kxSmartPointer<kxInterfaceDeclarationList> kxItemBase::concatenateDeclarations(kxInterfaceDeclarationList* first,
                                                                               kxInterfaceDeclarationList* second)
{
    if (first && second)
        for (uint32_t i = 0, count = second->getCount(); i < count; ++i)
            first->m_declarations.append(second->get(i));
    return first ? first : second;
}

kxSmartPointer<kxInterfaceDeclarationList> kxItemBase::getFunctionsFromArray(const kxInterfaceDeclaration* declarations,
                                                                             unsigned count)
{
    auto list = kxNew<kxInterfaceDeclarationList>();
    for (unsigned i = 0; i < count; ++i)
        list->m_declarations.addUnique(declarations[i]);
    return list;
}

} // namespace Kel::Opt
