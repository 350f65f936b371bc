// Cursor over the classes derived from one.
#pragma once

#include "opt/framework/kxOptNames.h"

namespace Kel::Opt
{

/// Steps through a class and all derived from it, bases before derived ones, in order of registration. Classes registered
/// meanwhile are met as well.
class kxIterateDerived : public kxObject
{
    KX_OBJECT(kxIterateDerived, kxObject)
    static void listFields(kxFields<kxIterateDerived>& fields);

    kxSmartPointer<kxMetaObject> _base;
    int32_t _index = 0;

    kxMetaObject* begin(const kxMetaObject* base);
    /// Null in front of the first class and behind the last one.
    kxMetaObject* getCurrent() const;
    kxMetaObject* getNext();
    kxMetaObject* getPrevious();
    bool next() { return getNext() != nullptr; }
};

} // namespace Kel::Opt
