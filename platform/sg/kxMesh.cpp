#include "platform/sg/kxMesh.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxMesh)

void kxMesh::listFields(kxFields<kxMesh>& fields)
{
    fields.add(&kxMesh::_weights, "_weights", "weights of the morph targets where nothing else sets them");
    fields.add(&kxMesh::_targetNames, "_targetNames", "names of the morph targets");
}

} // namespace Kel::Sg
