// Reads arbitrary bytes as a glTF file. What loads is written and let go of again: nothing in a file may make the reader, the
// writer or the destructors reach past what they hold.
#include "interop/gltf/kxGltfReader.h"
#include "interop/gltf/kxGltfWriter.h"
#include "interop/gltf/libKXGltf.h"
#include "platform/core/kxReport.h"

#include <sys/mman.h>
#include <unistd.h>

using namespace Kel::Gltf;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Kel::libKXGltf_arkRegister();
    const int descriptor = ::memfd_create("scene", 0);
    if (descriptor < 0 || ::write(descriptor, data, size) != static_cast<ssize_t>(size))
        __builtin_trap();
    {
        kxReportCollector reports;
        const auto options = kxNew<kxFileOptions>();
        const auto directory = kxNew<kxDirectory>();
        const std::string path = kxFormat("/proc/self/fd/%d", descriptor);
        const bool loaded = kxGltfReader(path.c_str(), *options).read(*directory);
        // Refusals say why, in one line; scenes that load say nothing on the error channel.
        if (loaded == !reports.m_errors.empty() ||
            std::count(reports.m_errors.begin(), reports.m_errors.end(), '\n') > 1)
            __builtin_trap();
        if (loaded)
            kxGltfWriter("/dev/null", true, *options).write(*directory);
    }
    ::close(descriptor);
    return 0;
}
