// Puts lights into the scene.
#pragma once

#include "platform/attrs/kxLightAttr.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Places its lights at this point of the graph.
class kxLightSet : public kxGroup
{
    KX_OBJECT(kxLightSet, kxGroup)
    static void listFields(kxFields<kxLightSet>& fields);

    kxSmartPointer<kxLightAttrList> _lightAttrs = kxNew<kxLightAttrList>();

    kxLightAttrList* getLightAttrs() const { return _lightAttrs; }
    void appendLightAttr(kxLightAttr* light) { _lightAttrs->append(light); }
    bool removeLightAttr(const kxLightAttr* light) { return _lightAttrs->remove(light); }
};

} // namespace Kel::Sg
