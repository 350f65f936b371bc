// Group that sets attributes for everything below it.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

/// Sets attributes for everything below it. An attribute of the same type and unit further down the path wins.
class kxAttrSet : public kxGroup
{
    KX_OBJECT(kxAttrSet, kxGroup)
    static void listFields(kxFields<kxAttrSet>& fields);

    kxSmartPointer<kxAttrList> _attrs = kxNew<kxAttrList>();

    kxAttrList* getAttrs() const { return _attrs; }
    void appendAttr(kxAttr* attr) { _attrs->append(attr); }
    /// Removes the first entry that is `attr`; false when there is none.
    bool removeAttr(const kxAttr* attr) { return _attrs->remove(attr); }
    /// First attribute of a type or of one derived from it; null when there is none.
    kxAttr* findAttr(const kxMetaObject* type) const;
};

KX_OBJECT_LIST(kxAttrSetList, kxAttrSet)

} // namespace Kel::Sg
