// The one list of the image codecs.
#include "interop/images/libKXImageIO.h"

#include "interop/images/kxDdsCodec.h"
#include "interop/images/kxJpegCodec.h"
#include "interop/images/kxPngCodec.h"
#include "interop/images/kxWebpCodec.h"
#include "platform/gfx/libKXGfx.h"

namespace Kel
{

using namespace Kel::Interop;

void libKXImageIO_arkRegister()
{
    libKXGfx_arkRegister();
    kxRegisterClass<kxPngCodec>("kxPngCodec", "PNG files");
    kxRegisterClass<kxJpegCodec>("kxJpegCodec", "JPEG files");
    kxRegisterClass<kxWebpCodec>("kxWebpCodec", "WebP files");
    kxRegisterClass<kxDdsCodec>("kxDdsCodec", "DDS files");
}

} // namespace Kel
