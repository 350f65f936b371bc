#include "opt/iterate/kxIterateDerived.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxIterateDerived)

void kxIterateDerived::listFields(kxFields<kxIterateDerived>& fields)
{
    fields.add(&kxIterateDerived::_base, "_base", "class whose derived classes are walked");
    fields.add(&kxIterateDerived::_index, "_index", "index of the current class");
}

kxMetaObject* kxIterateDerived::begin(const kxMetaObject* base)
{
    _base = const_cast<kxMetaObject*>(base);
    _index = 0;
    return getCurrent();
}

kxMetaObject* kxIterateDerived::getCurrent() const
{
    const bool inside = _base && _index >= 0 && static_cast<uint32_t>(_index) < _base->getDerivedCount();
    return inside ? _base->getDerived()[static_cast<size_t>(_index)] : nullptr;
}

kxMetaObject* kxIterateDerived::getNext()
{
    if (getCurrent() || _index < 0)
        ++_index;
    return getCurrent();
}

kxMetaObject* kxIterateDerived::getPrevious()
{
    if (_index >= 0)
        --_index;
    return getCurrent();
}

} // namespace Kel::Opt
