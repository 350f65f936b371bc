#include "platform/core/kxDirEntry.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxDirEntry)
KX_IMPLEMENT(kxObjectDirEntry)
KX_IMPLEMENT(kxExternalDirEntry)
KX_IMPLEMENT(kxDirEntryList)
KX_IMPLEMENT(kxExternalDirEntryList)

void kxDirEntry::listFields(kxFields<kxDirEntry>& fields)
{
    fields.add(&kxDirEntry::_name, "_name", "name within the directory");
}

void kxObjectDirEntry::listFields(kxFields<kxObjectDirEntry>& fields)
{
    fields.add(&kxObjectDirEntry::_object, "_object", "the object");
}

void kxExternalDirEntry::listFields(kxFields<kxExternalDirEntry>& fields)
{
    fields.add(&kxExternalDirEntry::_path, "_path", "path of the other file");
    fields.add(&kxExternalDirEntry::_object, "_object", "what stands for the object in the other file");
}

} // namespace Kel::Core
