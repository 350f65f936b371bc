// Gives nodes the volumes that culling tests.
#pragma once

#include "opt/framework/kxOptBase.h"

namespace Kel::Opt
{

/// Removes bounding volumes, makes new ones that fit, and drops those that would reject nothing more than the ones above them.
///
/// `_optimize` has no effect without `_createNewVolumes`: hosts that only remove volumes rely on it.
///
/// Cost: one walk for each of the three.
class kxCreateBoundingBoxes : public kxOptBase
{
    KX_OBJECT(kxCreateBoundingBoxes, kxOptBase)
    static void listFields(kxFields<kxCreateBoundingBoxes>& fields);

    bool _optimize = true;
    bool _removeOldVolumes = true;
    bool _createNewVolumes = true;

    bool configure(int section) override;
    using kxOptBase::canOptimize;
    bool canOptimize(kxInfo* info) override;
    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;
};

} // namespace Kel::Opt
