// Draws its children many times.
#pragma once

#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Draws its children once for each element of its arrays (TRANSLATION, ROTATION, SCALE and any others).
class kxInstanceArray : public kxGroup
{
    KX_OBJECT(kxInstanceArray, kxGroup)
    static void listFields(kxFields<kxInstanceArray>& fields);

    kxSmartPointer<kxVertexArrayList> _arrays = kxNew<kxVertexArrayList>();

    int64_t getInstanceCount() const { return _arrays->isEmpty() || !_arrays->get(0) ? 0 : _arrays->get(0)->_count; }
};

} // namespace Kel::Sg
