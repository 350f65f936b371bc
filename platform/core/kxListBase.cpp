#include "platform/core/kxListBase.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxListBase)
KX_IMPLEMENT(kxIntList)
KX_IMPLEMENT(kxUnsignedIntList)
KX_IMPLEMENT(kxLongList)
KX_IMPLEMENT(kxFloatList)
KX_IMPLEMENT(kxDoubleList)
KX_IMPLEMENT(kxBoolList)
KX_IMPLEMENT(kxStringRefList)
KX_IMPLEMENT(kxVec3fList)
KX_IMPLEMENT(kxVec4fList)
KX_IMPLEMENT(kxQuatfList)
KX_IMPLEMENT(kxMatrix44fList)

bool kxListBase::appendElementArray(const void*, uint32_t)
{
    return false;
}

bool kxListBase::isAlike(const kxListBase* other) const
{
    const uint32_t count = getCount();
    if (count != other->getCount())
        return false;
    const kxMetaField* field = getElementField();
    for (uint32_t i = 0; i < count; ++i)
        if (!field->isValueAlike(getElementAddress(i), other->getElementAddress(i)))
            return false;
    return true;
}

uint64_t kxListBase::hash() const
{
    const uint32_t count = getCount();
    const kxMetaField* field = getElementField();
    uint64_t hash = uint64_t(count) + 1; // an empty list is not null
    for (uint32_t i = 0; i < count; ++i)
    {
        const uint64_t element = field->hashValue(getElementAddress(i));
        hash = hashBytes(&element, sizeof element, hash);
    }
    return hash;
}

} // namespace Kel::Core
