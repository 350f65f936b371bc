// Registration of the image codecs.
#pragma once

namespace Kel
{

/// Registers every codec, and the classes of the layers below first. Does nothing the second time.
void libKXImageIO_arkRegister();

} // namespace Kel
