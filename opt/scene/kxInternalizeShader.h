// Takes the sources of shaders into the scene.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"

namespace Kel::Opt
{

/// Takes the source of every interpreted shader into the scene, so that its file needs no others beside it. Shaders without
/// data or without a factory for ini-style text stay as they are, as do those whose source cannot be read.
class kxInternalizeShader : public kxOptVisitObject
{
    KX_OBJECT(kxInternalizeShader, kxOptVisitObject)

    kxInternalizeShader();

    bool configure(int section) override;
    void visitor(kxObject* object) override;
    kxMetaObject* getVisitedObjectMeta() override;
};

} // namespace Kel::Opt
