#include "platform/core/kxPlugInRepository.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include <dlfcn.h>

namespace Kel::Core
{

namespace
{

namespace fs = std::filesystem;

fs::path executableFolder()
{
    std::error_code fault;
    const fs::path executable = fs::read_symlink("/proc/self/exe", fault);
    return fault ? fs::path() : executable.parent_path();
}

// Libraries in the folder, by name, whatever order the file system has them in.
std::vector<std::string> listLibraries(const fs::path& folder)
{
    std::vector<std::string> files;
    std::error_code fault;
    for (fs::directory_iterator at(folder, fault), end; !fault && at != end; at.increment(fault))
    {
        std::error_code unknown;
        if (at->path().extension() == ".so" && at->is_regular_file(unknown))
            files.push_back(at->path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool refuse(const std::string& file, const std::string& reason)
{
    kxReport::warning("%s: %s; the plug-in is left out", file.c_str(), reason.c_str());
    return false;
}

} // namespace

kxPlugInRepository& kxPlugInRepository::get()
{
    static auto* repository = new kxPlugInRepository; // as long-lived as the classes of its plug-ins
    return *repository;
}

uint32_t kxPlugInRepository::addRepository(const char* name, const char* folder)
{
    // A path joined to an absolute one is the absolute one.
    uint32_t loaded = 0;
    for (const std::string& file : listLibraries(executableFolder() / folder))
        if (loadFile(name, file))
            ++loaded;
    return loaded;
}

uint32_t kxPlugInRepository::addDefaultRepository(const char* name, const char* folder)
{
    uint32_t loaded = addRepository(name, folder);
    const char* variable = std::getenv("KXOPT_PLUGINS");
    std::string_view folders = variable ? variable : "";
    while (!folders.empty())
    {
        const size_t end = std::min(folders.find(':'), folders.size());
        const std::string named(folders.substr(0, end));
        folders.remove_prefix(std::min(end + 1, folders.size()));
        if (named.empty())
            continue;
        // Whoever names a folder means one that is there, and means it as the shell does.
        std::error_code fault;
        if (!fs::is_directory(named, fault))
            kxReport::warning("%s: is not a folder of plug-ins (KXOPT_PLUGINS)", named.c_str());
        else
            loaded += addRepository(name, fs::absolute(named, fault).c_str());
    }
    return loaded;
}

bool kxPlugInRepository::loadFile(const char* repository, const std::string& file)
{
    std::error_code fault;
    const std::string resolved = fs::canonical(file, fault).string();
    if (std::find(m_seen.begin(), m_seen.end(), resolved) != m_seen.end())
        return false;
    m_seen.push_back(resolved);

    // Never closed, also when it is refused: what it may have left in the process must stay valid.
    void* library = ::dlopen(resolved.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
    {
        const char* reason = ::dlerror();
        return refuse(file, std::string("does not load: ") + (reason ? reason : "unknown reason"));
    }
    const auto function = reinterpret_cast<kxPlugInFunction>(::dlsym(library, kPlugInFunctionName));
    if (!function)
        return refuse(file, std::string("has no function ") + kPlugInFunctionName);
    try
    {
        const kxPlugInInfo* info = function();
        if (!info)
            return refuse(file, "says nothing about itself");
        if (info->abiVersion != kPlugInAbiVersion)
            return refuse(file, kxFormat("is built for version %u of the plug-in interface, this is version %u",
                                         info->abiVersion, kPlugInAbiVersion));
        if (!info->name || !info->registerClasses)
            return refuse(file, "does not give its name and its function that registers classes");
        info->registerClasses();
        m_plugIns.push_back({repository, file, info->name});
    }
    catch (const std::exception& exception)
    {
        return refuse(file, std::string("fails while it registers its classes: ") + exception.what());
    }
    catch (...)
    {
        return refuse(file, "fails while it registers its classes");
    }
    return true;
}

} // namespace Kel::Core
