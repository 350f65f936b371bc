// For walks over many objects: which fields of a class refer to other objects.
#pragma once

#include "platform/core/kxMetaObject.h"
#include "platform/core/kxFieldTypes.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace Kel::Core
{

/// What a walk has to know of a class, found out once for each class instead of once for each object.
struct kxClassReferences
{
    enum Role
    {
        OBJECT,      ///< something with fields
        VALUE_LIST,  ///< a list of values
        OBJECT_LIST, ///< a list of objects
        CLASS,       ///< a class or a field of one
        MEMORY       ///< a memory block
    };

    const kxMetaObject* type = nullptr;
    Role role = OBJECT;
    std::vector<const kxObjectField*> fields;    ///< references to follow, in order
    std::vector<const kxObjectField*> linksBack; ///< references to owners
};

/// The classes that a walk has met. For one walk: it does not see fields that are appended later.
class kxClassReferencesTable
{
public:
    const kxClassReferences& of(const kxObject* object)
    {
        const kxMetaObject* type = object->getMetaObject();
        const size_t index = type->getIndex();
        if (index < m_byIndex.size() && m_byIndex[index] && m_byIndex[index]->type == type)
            return *m_byIndex[index];
        return add(type);
    }

private:
    const kxClassReferences& add(const kxMetaObject* type);

    std::vector<const kxClassReferences*> m_byIndex;
    std::unordered_map<const kxMetaObject*, std::unique_ptr<kxClassReferences>> m_all;
};

} // namespace Kel::Core
