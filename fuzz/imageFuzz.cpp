// Image files of every kind: read, converted, written again.
#include "interop/images/libKXImageIO.h"
#include "platform/core/kxReport.h"
#include "platform/gfx/kxImageCodec.h"

using namespace Kel::Gfx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t byteCount)
{
    Kel::libKXImageIO_arkRegister();
    const kxReportCollector collector;
    auto image = kxNew<kxImage>();
    image->_encoded = kxMemoryBlock::copyOf(bytes, byteCount);
    // Decoders may take memory for the size that a file claims; large claims that hold are no fault.
    if (uint64_t(image->getWidth()) * image->getHeight() > 1u << 22 || !image->ensurePixels())
        return 0;
    kxImageFileForm form;
    image->getWritablePixels();
    if (kxImageCodec::encodeForFile(*image, false, form))
    {
        auto again = kxNew<kxImage>();
        again->_encoded = form.bytes;
        if (!again->ensurePixels())
            __builtin_trap(); // what was written is read
    }
    image->convert(rgba_8888_32, image);
    return 0;
}
