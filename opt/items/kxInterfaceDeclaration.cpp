#include "opt/items/kxInterfaceDeclaration.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxInterfaceDeclarationList)
KX_IMPLEMENT(kxInterfaceDeclarationField)

int kxInterfaceDeclaration::compare(const kxInterfaceDeclaration& a, const kxInterfaceDeclaration& b, void*)
{
    return a < b ? -1 : b < a ? 1 : 0;
}

} // namespace Kel::Opt
