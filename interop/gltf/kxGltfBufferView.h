// Bytes of a glTF file that only an extension knows how to read.
#pragma once

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxObjectList.h"
#include "platform/core/kxUserData.h"

namespace Kel::Gltf
{

using namespace Kel::Core;

/// A buffer view that is carried as it is: the values of a table, a sound, whatever is neither an accessor's nor an image's.
class kxGltfBufferView : public kxObject
{
    KX_OBJECT(kxGltfBufferView, kxObject)
    static void listFields(kxFields<kxGltfBufferView>& fields);

    kxStringRef _name;
    kxSmartPointer<kxMemoryBlock> _bytes;
    int32_t _byteStride = 0; ///< 0: not given
    int32_t _target = 0;     ///< 0: not given
    kxSmartPointer<kxUserData> _userData;
};

KX_OBJECT_LIST(kxGltfBufferViewList, kxGltfBufferView)

} // namespace Kel::Gltf
