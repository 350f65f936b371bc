// Registration of the attrs library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, and of those below it first. Does nothing the second time.
void libKXAttrs_arkRegister();

} // namespace Kel
