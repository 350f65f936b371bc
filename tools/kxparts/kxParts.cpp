// kxparts IN: prints how many parts of a scene can be left out.
// kxparts IN OUT FIRST LAST: writes the scene without the parts from FIRST to before LAST.
#include "tools/kxparts/kxSceneParts.h"

#include "interop/gltf/libKXGltf.h"
#include "interop/images/libKXImageIO.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/libKXOpt.h"
#include "platform/sg/kxSceneInfo.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace Kel;
using namespace Kel::Core;
using namespace Kel::Opt;

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 5)
    {
        std::fprintf(stderr, "kxparts: IN [OUT FIRST LAST]\n");
        return 2;
    }
    libKXOpt_arkRegister();
    libKXImageIO_arkRegister();
    libKXGltf_arkRegister();
    const kxSmartPointer<kxOptInterface> service = kxNew<kxOptInterface>();
    const kxSmartPointer<kxManager> services = kxNew<kxDefaultManager>(service.get());
    kxSmartPointer<Sg::kxSceneInfo> scene;
    if (!service->loadFile(argv[1], scene))
        return 2;
    scene = nullptr;
    Tool::kxSceneParts parts(*service->_file);
    if (argc == 2)
    {
        std::printf("%zu\n", parts.getCount());
        return 0;
    }
    const size_t last = std::min<size_t>(std::strtoull(argv[4], nullptr, 10), parts.getCount());
    parts.leaveOut(std::min<size_t>(std::strtoull(argv[3], nullptr, 10), last), last);
    return service->writeFile(static_cast<kxInfo*>(nullptr), argv[2], true) == kSuccess ? 0 : 1;
}
