// Names of images and lists of them.
#pragma once

#include "platform/core/kxFile.h"
#include "platform/core/kxStringObj.h"
#include "platform/gfx/kxGfxNames.h"

namespace Kel::Gfx
{

/// Small services around images.
class kxImageUtils
{
public:
    /// The name behind the last slash or backslash of a path; null for null.
    static kxStringRef getFileName(kxStringRef path);
    /// Appends every line of a text file that holds more than blanks, without the blanks around it. Gives the number of
    /// lines appended, -1 when the file cannot be read.
    static int parseTextFile(kxFile& file, kxStringObjList& lines);
};

} // namespace Kel::Gfx
