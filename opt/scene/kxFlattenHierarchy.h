// Takes plain groups and attribute sets out of the graph.
#pragma once

#include "opt/framework/kxOptBase.h"

namespace Kel::Opt
{

class kxCollapseHierarchy;

/// Removes plain groups and attribute sets wherever that does not change what is drawn: runs the collapsing of groups,
/// then that of attribute sets, with decisions that go further than the ordinary ones. The root of the graph stays.
class kxFlattenHierarchy : public kxOptBase
{
    KX_OBJECT(kxFlattenHierarchy, kxOptBase)
    static void listFields(kxFields<kxFlattenHierarchy>& fields);

    bool _flattenGroup = true;
    bool _flattenAttrSet = true;
    kxStringRef _traversalName{"kxNodeTraversal"};

    void setFlattenAttrSet(bool flatten) { _flattenAttrSet = flatten; }
    bool getFlattenAttrSet() const { return _flattenAttrSet; }

    /// True: whatever can stand wrong in the settings shows when they are used.
    bool configure(int section) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

private:
    bool flatten(kxCollapseHierarchy* collapse, kxMetaObject* nodeType, kxMetaObject* flattenItem,
                 kxSmartPointer<kxNode>& root);
};

} // namespace Kel::Opt
