// Registration of the utility library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, and of those below it first. Does nothing the second time.
void libKXUtils_arkRegister();

} // namespace Kel
