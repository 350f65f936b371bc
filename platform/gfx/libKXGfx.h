// Registration of the gfx library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, and of those below it first. Does nothing the second time.
void libKXGfx_arkRegister();

} // namespace Kel
