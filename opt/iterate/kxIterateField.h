// Cursor over the fields of a class.
#pragma once

#include "opt/framework/kxOptNames.h"

namespace Kel::Opt
{

/// Steps through the fields of a class in their order, inherited ones first. The type variants stop at fields whose kind is of
/// the given class of meta-fields (`kxIntField` ...).
class kxIterateField : public kxObject
{
    KX_OBJECT(kxIterateField, kxObject)
    static void listFields(kxFields<kxIterateField>& fields);

    kxSmartPointer<kxMetaObject> _metaObject;
    int32_t _index = -1;

    kxMetaField* begin(const kxMetaObject* metaObject);
    kxMetaField* beginOfType(const kxMetaObject* metaObject, const kxMetaObject* fieldType);
    kxMetaField* beginOfExactType(const kxMetaObject* metaObject, const kxMetaObject* fieldType);

    /// Null in front of the first field and behind the last one.
    kxMetaField* getCurrent() const;
    kxMetaField* getNext();
    kxMetaField* getPrevious();
    bool next() { return getNext() != nullptr; }
    bool previous() { return getPrevious() != nullptr; }
    bool isNotFirst() const { return _index > 0; }
    bool isNotLast() const { return getCurrent() != nullptr; }

    kxMetaField* getNextOfType(const kxMetaObject* fieldType);
    kxMetaField* getNextOfExactType(const kxMetaObject* fieldType);
    kxMetaField* getPreviousOfType(const kxMetaObject* fieldType);
};

} // namespace Kel::Opt
