// Registration of the sg library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, and of those below it first. Does nothing the second time.
void libKXSg_arkRegister();

} // namespace Kel
