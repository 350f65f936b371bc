// Registration of the core library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, bases first. Does nothing the second time.
void libKXCore_arkRegister();

} // namespace Kel
