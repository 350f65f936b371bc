// What a reader or writer of files may do.
#pragma once

#include "platform/core/kxFields.h"

namespace Kel::Core
{

class kxWrittenSizes;

/// Settings for reading and writing files. Formats with settings of their own derive from it; a format that is given
/// another class takes its own defaults for them.
class kxFileOptions : public kxObject
{
    KX_OBJECT(kxFileOptions, kxObject)
    static void listFields(kxFields<kxFileOptions>& fields);

    bool _allowOutside = false; ///< follow references to files outside the scene's folder
    /// Write images of kinds that not every reader knows without a second image that every reader knows; the file then
    /// asks for readers that know the first.
    bool _noFallback = false;

    kxWrittenSizes* m_writtenSizes = nullptr; ///< where a writer notes sizes, null for nowhere; the caller's
};

} // namespace Kel::Core
