#include "platform/gfx/kxImageUtils.h"

namespace Kel::Gfx
{

kxStringRef kxImageUtils::getFileName(kxStringRef path)
{
    if (path.isNull())
        return path;
    const size_t slash = path.view().find_last_of("/\\");
    return slash == std::string_view::npos ? path : kxStringRef(path.view().substr(slash + 1));
}

int kxImageUtils::parseTextFile(kxFile& file, kxStringObjList& lines)
{
    std::string text;
    char part[4096];
    for (int64_t byteCount; (byteCount = file.read(part, sizeof part)) != 0;)
    {
        if (byteCount < 0)
            return -1;
        text.append(part, static_cast<size_t>(byteCount));
    }
    int count = 0;
    for (size_t begin = text.starts_with("\xef\xbb\xbf") ? 3 : 0; begin < text.size();)
    {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const size_t first = text.find_first_not_of(" \t\r", begin);
        if (first < end)
        {
            const size_t last = text.find_last_not_of(" \t\r", end - 1);
            lines.append(kxNew<kxStringObj>(std::string_view(text).substr(first, last + 1 - first)));
            ++count;
        }
        begin = end + 1;
    }
    return count;
}

} // namespace Kel::Gfx
