// A camera.
#pragma once

#include "platform/sg/kxNode.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Kinds of projection.
enum class kxCameraType : int32_t
{
    PERSPECTIVE = 0,
    ORTHOGRAPHIC = 1
};
const kxMetaEnum& kxMetaEnumOf(kxCameraType);

/// A camera looking down its negative z axis with y up.
class kxCamera : public kxNode
{
    KX_OBJECT(kxCamera, kxNode)
    static void listFields(kxFields<kxCamera>& fields);

    kxCameraType _cameraType = kxCameraType::PERSPECTIVE;
    float _yfov = 0.8f;
    float _aspectRatio = 0;
    float _znear = 0.1f;
    float _zfar = 0;
    float _xmag = 1;
    float _ymag = 1;
    kxSmartPointer<kxUserData> _projectionUserData;
};

KX_OBJECT_LIST(kxCameraList, kxCamera)

} // namespace Kel::Sg
