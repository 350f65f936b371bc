// Makes equal attributes shared.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "opt/scene/kxAttrComparison.h"

namespace Kel::Sg
{
class kxMaterialVariant;
}

namespace Kel::Opt
{

/// Shares equal attributes of one type: the first attribute of each value that the walk meets stays, and takes the
/// place of every later one that is alike. What is alike says the comparison item of the attribute's type. The material
/// variants of a geometry share with the paths.
///
/// Cost: one look-up by hash for each attribute, and one edit for each duplicate. A comparison item of a host's own,
/// which has no hash, is asked about every attribute kept so far. Leaves alone: locked objects, and containers whose
/// attributes cannot be replaced.
class kxShareAttrs : public kxOptBase
{
    KX_OBJECT(kxShareAttrs, kxOptBase)
    static void listFields(kxFields<kxShareAttrs>& fields);

    kxSmartPointer<kxMetaObject> _attributeType;
    kxSmartPointer<kxAttrList> _attributeList = kxNew<kxAttrList>();
    kxStringRef _traversalName{"kxNodeTraversal"};

    kxShareAttrs();

    bool configure(int section) override;
    /// A database of animations counts as done when either way of applying to it succeeded.
    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// True when one attribute may stand for the other; false when either is null.
    bool isAttrAlike(kxAttr* a, kxAttr* b);

    void setTraversalName(kxStringRef name) { _traversalName = name; }
    kxStringRef getTraversalName() const { return _traversalName; }
    void setAttrMeta(kxMetaObject* type) { _attributeType = type; }

protected:
    ~kxShareAttrs() override;

private:
    class Pool;

    void shareAttrs(kxObject* object, const kxMetaObject* type, Pool& pool);
    void shareVariantAttrs(Sg::kxMaterialVariant& variant, const kxMetaObject* type, Pool& pool);
    bool canEditAttrList(kxObject* object);
    kxSmartPointer<kxAttrList> getAttrList(kxObject* object);
    bool replaceAttr(kxObject* container, kxAttr* oldAttr, kxAttr* newAttr);
};

} // namespace Kel::Opt
