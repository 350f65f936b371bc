#include "opt/verify/kxNodeRole.h"

#include "platform/sg/kxActor.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxModelViewMatrixBoneSelect.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxTimeTransform.h"

#include <utility>

namespace Kel::Opt
{

namespace
{

kxNodeRole::Effect effectOf(const kxMetaObject* type)
{
    const std::pair<const kxMetaObject*, kxNodeRole::Effect> effects[] = {
        {kxTransform::staticMetaObject(), kxNodeRole::TRANSFORM},
        {kxAttrSet::staticMetaObject(), kxNodeRole::ATTR_SET},
        {kxShader::staticMetaObject(), kxNodeRole::SHADER},
        {kxLightSet::staticMetaObject(), kxNodeRole::LIGHT_SET},
        {kxLightStateSet::staticMetaObject(), kxNodeRole::LIGHT_STATE_SET},
        {kxActor::staticMetaObject(), kxNodeRole::ACTOR}};
    for (const auto& [base, effect] : effects)
        if (type->isDerivedFrom(base))
            return effect;
    return kxNodeRole::NOTHING;
}

} // namespace

kxNodeRole::kxNodeRole(const kxMetaObject* type, kxPictureHash& hash)
    : isKnown(true),
      effect(effectOf(type)),
      isGroup(type->isDerivedFrom(kxGroup::staticMetaObject())),
      isCamera(type->isDerivedFrom(kxCamera::staticMetaObject())),
      isLod(type->isDerivedFrom(kxLod::staticMetaObject())),
      isMesh(type->isDerivedFrom(kxMesh::staticMetaObject())),
      isDriven(type->isDerivedFrom(kxJoint::staticMetaObject()) ||
               type->isDerivedFrom(kxTimeTransform::staticMetaObject())),
      isPlaceSeen(isLod || type->isDerivedFrom(kxBillboard::staticMetaObject()) ||
                  type->isDerivedFrom(kxInstanceArray::staticMetaObject()) ||
                  type->isDerivedFrom(kxModelViewMatrixBoneSelect::staticMetaObject())),
      saysHow(hash.mayHashDrawing(type))
{
}

const kxNodeRole& kxNodeRoles::of(const kxMetaObject* type)
{
    const uint32_t index = type->getIndex();
    if (index >= m_roles.size())
        m_roles.resize(index + 1);
    if (!m_roles[index].isKnown)
        m_roles[index] = kxNodeRole(type, m_hash);
    return m_roles[index];
}

} // namespace Kel::Opt
