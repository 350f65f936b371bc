// A string as an object, for fields that refer to one and lists of them.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Core
{

/// Text that can change, shared by reference.
class kxStringObj : public kxObject
{
    KX_OBJECT(kxStringObj, kxObject)
    static void listFields(kxFields<kxStringObj>& fields);

    kxStringObj() = default;
    explicit kxStringObj(std::string_view text) : _string(text) {}

    kxStringRef _string{""};

    const char* c_str() const { return _string.c_str(); }
    std::string str() const { return _string.str(); }
    kxStringRef getString() const { return _string; }
    void setString(kxStringRef string) { _string = string; }
    bool isEmpty() const { return _string.isEmpty(); }
    /// Makes the ASCII letters small.
    void toLower();
};

KX_OBJECT_LIST(kxStringObjList, kxStringObj)

} // namespace Kel::Core
