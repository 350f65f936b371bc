#include "platform/core/kxFileFormat.h"

#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"

#include <algorithm>

namespace Kel::Core
{

KX_IMPLEMENT(kxFileFormat)

namespace
{

// First registered format that the question is answered with yes for.
template <class Question>
kxSmartPointer<kxFileFormat> findFormat(Question question)
{
    for (const kxMetaObject* type : kxFileFormat::staticMetaObject()->getDerived())
    {
        kxSmartPointer<kxFileFormat> format = type->createInstanceRef<kxFileFormat>();
        if (format && question(*format))
            return format;
    }
    return nullptr;
}

} // namespace

std::string getLowerCaseExtension(std::string_view path)
{
    const size_t slash = path.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    // The dot of a hidden file begins its name.
    std::string extension(dot == std::string_view::npos || dot == 0 ? "" : name.substr(dot + 1));
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return extension;
}

kxSmartPointer<kxFileFormat> kxFileFormat::findReader(const char* path)
{
    const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path);
    if (!file)
        return nullptr;
    const size_t headBytes = static_cast<size_t>(std::min<uint64_t>(file->getSize(), 4096));
    const std::string extension = getLowerCaseExtension(path);
    for (const std::string& asked : {std::string(), extension})
        if (auto format = findFormat([&](kxFileFormat& f) { return f.claims(asked, file->getData(), headBytes); }))
            return format;
    kxReport::error("%s: is in no format that can be read", path);
    return nullptr;
}

kxSmartPointer<kxFileFormat> kxFileFormat::findWriter(const char* path)
{
    const std::string extension = getLowerCaseExtension(path);
    auto format = findFormat([&](kxFileFormat& f) { return f.canWrite(extension); });
    if (!format && extension.empty())
        kxReport::error("%s: has no extension that names a format to write", path);
    else if (!format)
        kxReport::error("%s: no format writes files with the extension .%s", path, extension.c_str());
    return format;
}

} // namespace Kel::Core
