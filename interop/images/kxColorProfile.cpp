#include "interop/images/kxColorProfile.h"

#include <cstring>

namespace Kel::Interop
{

bool isProfileOf(const kxMemoryBlock* profile, bool isGray)
{
    constexpr size_t kHeadBytes = 128, kColorSpaceAt = 16;
    return profile && profile->getSize() >= kHeadBytes &&
           std::memcmp(profile->getData() + kColorSpaceAt, isGray ? "GRAY" : "RGB ", 4) == 0;
}

} // namespace Kel::Interop
