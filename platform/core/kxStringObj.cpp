#include "platform/core/kxStringObj.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxStringObj)
KX_IMPLEMENT(kxStringObjList)

void kxStringObj::listFields(kxFields<kxStringObj>& fields)
{
    fields.add(&kxStringObj::_string, "_string", "the text");
}

void kxStringObj::toLower()
{
    std::string text = str();
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    _string = kxStringRef(text);
}

} // namespace Kel::Core
