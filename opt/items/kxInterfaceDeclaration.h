// The functions that an item offers by name.
#pragma once

#include "opt/parameters/kxParameterSet.h"
#include "platform/core/kxTCompoundList.h"

#include <type_traits>

namespace Kel::Opt
{

class kxItemBase;

/// Implementation of an item's function: takes one parameter set and returns a new one.
using kxItemFunction = kxSmartPointer<kxParameterSet> (kxItemBase::*)(kxParameterSet* input);

/// One entry of an item's table: a function by name. Ordered by the identity of the name.
struct kxInterfaceDeclaration
{
    kxStringRef name;
    kxItemFunction function = nullptr;

    kxInterfaceDeclaration() = default;
    kxInterfaceDeclaration(kxStringRef functionName, kxItemFunction memberFunction)
        : name(functionName), function(memberFunction)
    {
    }
    /// Declares a virtual function of an item family: the item's own override is what runs.
    template <class Item>
    kxInterfaceDeclaration(const char* functionName,
                           kxSmartPointer<kxParameterSet> (Item::*memberFunction)(kxParameterSet*))
        : name(functionName), function(static_cast<kxItemFunction>(memberFunction))
    {
        static_assert(std::is_base_of_v<kxItemBase, Item>);
    }

    friend bool operator<(const kxInterfaceDeclaration& a, const kxInterfaceDeclaration& b) { return a.name < b.name; }
    friend bool operator>(const kxInterfaceDeclaration& a, const kxInterfaceDeclaration& b) { return b.name < a.name; }
    /// Below, equal to or above zero as `a` stands before, with or behind `b`.
    static int compare(const kxInterfaceDeclaration& a, const kxInterfaceDeclaration& b, void* context);
};

/// Table of functions, sorted unless it was joined from two.
class kxInterfaceDeclarationList : public kxObject
{
    KX_OBJECT(kxInterfaceDeclarationList, kxObject)

    kxTCompoundList<kxInterfaceDeclaration> m_declarations{&kxInterfaceDeclaration::compare};

    uint32_t getCount() const { return m_declarations.getCount(); }
    const kxInterfaceDeclaration& get(uint32_t index) const { return m_declarations[index]; }
};

/// Field that refers to a table of functions.
class kxInterfaceDeclarationField : public kxObjectField
{
    KX_OBJECT(kxInterfaceDeclarationField, kxObjectField)

    kxInterfaceDeclarationField() : kxObjectField(&kxInterfaceDeclarationList::staticMetaObject) {}
};

} // namespace Kel::Opt
