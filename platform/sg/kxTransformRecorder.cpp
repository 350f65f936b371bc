#include "platform/sg/kxTransformRecorder.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransformRecorder)

void kxTransformRecorder::listFields(kxFields<kxTransformRecorder>& fields)
{
    fields.add(&kxTransformRecorder::_recorded, "_recorded", "matrix noted last");
}

} // namespace Kel::Sg
