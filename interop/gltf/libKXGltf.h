// Registration of the glTF library's classes.
#pragma once

namespace Kel
{

/// Registers every class of the library, and of those below it first. Does nothing the second time.
void libKXGltf_arkRegister();

} // namespace Kel
