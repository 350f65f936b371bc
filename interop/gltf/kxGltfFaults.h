// What is wrong with a file, said in one line for each kind of fault.
#pragma once

#include "platform/core/kxReport.h"

#include <string>
#include <vector>

namespace Kel::Gltf
{

using namespace Kel::Core;

/// Faults of one file while it is read or written. The first refusal goes out at once as an error line and silences all that
/// follows; warnings are gathered by kind and go out as one line each when the work has succeeded.
class kxGltfFaults
{
public:
    explicit kxGltfFaults(std::string path) : m_path(std::move(path)) {}

    const std::string& getPath() const { return m_path; }
    bool isRefused() const { return m_refused; }
    /// Reports "PATH: TEXT" as the error. Answers false, for the caller to pass on.
    [[gnu::format(printf, 2, 3)]] bool refuse(const char* format, ...);
    /// The same for a failure that somebody else has reported already.
    bool refuseReported()
    {
        m_refused = true;
        return false;
    }

    /// Notes a fault that the file is still usable with. `kind` says what is done about it and is the same text for all
    /// faults of the kind; `where` names the thing.
    void warn(const char* kind, const std::string& where);
    /// Gives out the warnings, in the order in which their kinds were first met: "PATH: WHERE: KIND (and N more)".
    void reportWarnings();

private:
    struct Kind
    {
        std::string text;
        std::string first;
        uint64_t count;
    };
    std::string m_path;
    std::vector<Kind> m_kinds;
    bool m_refused = false;
};

} // namespace Kel::Gltf
