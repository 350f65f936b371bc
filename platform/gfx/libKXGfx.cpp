// The one list of the gfx library's classes.
#include "platform/gfx/libKXGfx.h"

#include "platform/gfx/kxClut.h"
#include "platform/gfx/kxImage.h"
#include "platform/gfx/kxImageCodec.h"
#include "platform/utils/libKXUtils.h"

namespace Kel
{

using namespace Kel::Gfx;

void libKXGfx_arkRegister()
{
    libKXUtils_arkRegister();
    kxRegisterClass<kxClut>("kxClut", "palette of an indexed image");
    kxRegisterClass<kxImage>("kxImage", "an image: the bytes it came in, and its pixels once something asks for them");
    kxRegisterClass<kxImageList>("kxImageList", "list of kxImage objects");
    kxRegisterClass<kxImageCodec>("kxImageCodec", "a kind of image files");
}

} // namespace Kel
