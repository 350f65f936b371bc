// Folders of plug-ins.
#pragma once

#include "platform/core/kxPlugIn.h"

#include <string>
#include <vector>

namespace Kel::Core
{

/// The plug-ins of this process. A library is loaded once however often its folder is added, and never unloaded: its classes
/// live as long as the process.
class kxPlugInRepository
{
public:
    struct PlugIn
    {
        std::string repository; ///< name of the repository that brought it
        std::string file;
        std::string name; ///< as it calls itself
    };

    static kxPlugInRepository& get();

    /// Loads the plug-ins of a folder (files *.so) in the order of their names; a relative folder is one relative to the
    /// executable's. Gives the number of plug-ins that were not loaded before. A missing folder holds none. A library that
    /// does not load, that exports no registration function or that was built for another version of the interface is
    /// refused with one warning line, here and only once.
    uint32_t addRepository(const char* name, const char* folder);
    /// The usual places of a repository: `folder` beside the executable, then the folders that the environment variable
    /// KXOPT_PLUGINS names, separated by colons.
    uint32_t addDefaultRepository(const char* name = "Optimizations", const char* folder = "plugins/optimizations");

    /// The loaded plug-ins in the order of loading.
    const std::vector<PlugIn>& getPlugIns() const { return m_plugIns; }

private:
    bool loadFile(const char* repository, const std::string& file);

    std::vector<PlugIn> m_plugIns;
    std::vector<std::string> m_seen; // resolved paths, refused ones included
};

} // namespace Kel::Core
