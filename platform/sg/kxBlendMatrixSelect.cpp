#include "platform/sg/kxBlendMatrixSelect.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxBlendMatrixSelect)

void kxBlendMatrixSelect::listFields(kxFields<kxBlendMatrixSelect>& fields)
{
    fields.add(&kxBlendMatrixSelect::_matrixIndices, "_matrixIndices", "indices into the palette");
}

} // namespace Kel::Sg
