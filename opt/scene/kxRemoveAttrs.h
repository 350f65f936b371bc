// Takes attributes of one type away.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Removes every attribute of one type, and of those derived from it, from every object of a graph. This changes what
/// is drawn, as far as the attributes were in effect.
///
/// Leaves alone: locked objects, and containers whose attributes cannot be removed.
class kxRemoveAttrs : public kxOptBase
{
    KX_OBJECT(kxRemoveAttrs, kxOptBase)
    static void listFields(kxFields<kxRemoveAttrs>& fields);

    kxSmartPointer<kxMetaObject> _attributeType;
    kxStringRef _traversalName{"kxNodeTraversal"};

    bool configure(int section) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

private:
    void removeAttrs(kxObject* object);
    bool canEditAttrList(kxObject* object);
    kxSmartPointer<kxAttrList> getAttrList(kxObject* object);
    bool removeAttr(kxObject* container, kxAttr* attr);
};

} // namespace Kel::Opt
