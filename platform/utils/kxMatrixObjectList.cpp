#include "platform/utils/kxMatrixObjectList.h"

namespace Kel::Utils
{

KX_IMPLEMENT(kxMatrixObjectList)

void kxMatrixObjectList::listFields(kxFields<kxMatrixObjectList>& fields)
{
    fields.add(&kxMatrixObjectList::_objects, "_objects", "the objects");
    fields.add(&kxMatrixObjectList::_matrices, "_matrices", "for each object its matrix");
}

void kxMatrixObjectList::append(kxObject* object, const kxMatrix44f& matrix)
{
    _objects->append(object);
    _matrices->append(matrix);
}

void kxMatrixObjectList::clear()
{
    _objects->clear();
    _matrices->clear();
}

} // namespace Kel::Utils
