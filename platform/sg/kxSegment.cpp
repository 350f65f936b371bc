#include "platform/sg/kxSegment.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxSegment)

void kxSegment::listFields(kxFields<kxSegment>& fields)
{
    fields.add(&kxSegment::_segmentFile, "_segmentFile", "file that holds the segment");
}

} // namespace Kel::Sg
