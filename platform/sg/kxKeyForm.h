// How a file holds keys.
#pragma once

#include "platform/core/kxObjectList.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Bytes that keys take in a file, for those who split shared lists. The defaults are those of keys that came from no file.
struct kxKeySizes
{
    uint32_t timeBytes = 8;
    uint32_t numberBytes = 4; ///< of one number of a value
    uint32_t listBytes = 200; ///< of one more list of times or values, beside its keys, at most
    uint32_t changeBytes = 0; ///< by which what is said about a list may grow when keys go, at most
    bool isPacked = false;    ///< the size of a list does not depend on the number of its keys alone
};

/// What a file format remembers of the way in which a file held the keys of a sequence, so that they are written the same way.
class kxKeyForm : public kxObject
{
    KX_OBJECT(kxKeyForm, kxObject)

    virtual kxKeySizes getSizes() const { return {}; }
};

} // namespace Kel::Sg
