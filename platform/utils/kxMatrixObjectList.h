// Objects with a matrix for each.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Utils
{

using namespace Kel::Core;

/// Objects and, at the same index, the matrix that takes each to a common space.
class kxMatrixObjectList : public kxObject
{
    KX_OBJECT(kxMatrixObjectList, kxObject)
    static void listFields(kxFields<kxMatrixObjectList>& fields);

    kxSmartPointer<kxObjectList> _objects = kxNew<kxObjectList>();
    kxSmartPointer<kxMatrix44fList> _matrices = kxNew<kxMatrix44fList>();

    uint32_t getCount() const { return _objects->getCount(); }
    kxObject* getObject(uint32_t index) const { return _objects->get(index); }
    kxMatrix44f getMatrix(uint32_t index) const { return _matrices->get(index); }
    void append(kxObject* object, const kxMatrix44f& matrix);
    void clear();
};

} // namespace Kel::Utils
