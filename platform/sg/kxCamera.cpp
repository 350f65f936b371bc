#include "platform/sg/kxCamera.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxCamera)
KX_IMPLEMENT(kxCameraList)

void kxCamera::listFields(kxFields<kxCamera>& fields)
{
    fields.add(&kxCamera::_cameraType, "_cameraType", "kind of projection");
    fields.add(&kxCamera::_yfov, "_yfov", "vertical field of view, radians");
    fields.add(&kxCamera::_aspectRatio, "_aspectRatio", "width over height, 0 for that of the window");
    fields.add(&kxCamera::_znear, "_znear", "distance of the near plane");
    fields.add(&kxCamera::_zfar, "_zfar", "distance of the far plane, 0 for none");
    fields.add(&kxCamera::_xmag, "_xmag", "half the width of an orthographic view, scene units");
    fields.add(&kxCamera::_ymag, "_ymag", "half the height of an orthographic view, scene units");
    fields.add(&kxCamera::_projectionUserData, "_projectionUserData",
               "what a file says about the projection beyond these fields");
}

const kxMetaEnum& kxMetaEnumOf(kxCameraType)
{
    static const kxMetaEnum metaEnum("kxCameraType", {{"PERSPECTIVE", 0}, {"ORTHOGRAPHIC", 1}});
    return metaEnum;
}

} // namespace Kel::Sg
