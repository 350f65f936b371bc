// Items that say whether two attributes are interchangeable.
#pragma once

#include "opt/items/kxItemBase.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Compares attributes by their fields; a locked attribute is like no other. Each class of comparisons is an interface
/// of its own, by its class name: a client says how it wants attributes compared.
class kxCompareAttr : public kxItemBase
{
    KX_OBJECT(kxCompareAttr, kxItemBase)
    static void listFields(kxFields<kxCompareAttr>& fields);

    kxSmartPointer<kxAttr> _attributeOne;
    kxSmartPointer<kxAttr> _attributeTwo;
    bool _compare = false;

    bool getCompare() const { return _compare; }
    void setCompare(bool alike) { _compare = alike; }

    void userSetupOutput(kxParameterSet* result) override;
    kxMetaObject* getInterfacedType() override;
    /// The name of the item's own class.
    kxStringRef getInterfaceName() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> compare(kxParameterSet* input);

    /// The comparison itself; `locks` may be null.
    static bool areAlike(kxLockInterface* locks, kxAttr* a, kxAttr* b);

protected:
    bool isLocked(kxAttr* attr) const;
    bool compareAttrs(kxAttr* a, kxAttr* b) const;
};

/// Compares texture binds by how they bind and by what their textures hold, so that binds of equal textures are alike,
/// which `kxCompareAttr` denies. Other attributes are never alike here.
class kxCompareAttrForTexture : public kxCompareAttr
{
    KX_OBJECT(kxCompareAttrForTexture, kxCompareAttr)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSet> compare(kxParameterSet* input) override;
};

} // namespace Kel::Opt
