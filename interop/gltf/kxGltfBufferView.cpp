#include "interop/gltf/kxGltfBufferView.h"

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfBufferView)
KX_IMPLEMENT(kxGltfBufferViewList)

void kxGltfBufferView::listFields(kxFields<kxGltfBufferView>& fields)
{
    fields.add(&kxGltfBufferView::_name, "_name", "name of the buffer view");
    fields.add(&kxGltfBufferView::_bytes, "_bytes", "what the buffer view holds");
    fields.add(&kxGltfBufferView::_byteStride, "_byteStride", "bytes from one element to the next, 0 when not given");
    fields.add(&kxGltfBufferView::_target, "_target", "what a graphics card uses the bytes for, 0 when not given");
    fields.add(&kxGltfBufferView::_userData, "_userData", "what the file says beyond that");
}

} // namespace Kel::Gltf
