// Base of optimizations that are called for each object of one type.
#pragma once

#include "opt/framework/kxOptBase.h"

namespace Kel::Core
{
class kxDirectory;
}

namespace Kel::Opt
{

/// Calls `visitor` once for every object of one type that a scene, an animation database or a graph reaches. The objects are
/// collected and held before the first visit.
///
/// A derived class's constructor sets `_visitedMetaObject` to what its `getVisitedObjectMeta` returns.
class kxOptVisitObject : public kxOptBase
{
    KX_OBJECT(kxOptVisitObject, kxOptBase)
    static void listFields(kxFields<kxOptVisitObject>& fields);

    kxSmartPointer<kxMetaObject> _visitedMetaObject;

    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;
    bool canOptimize(kxNode* root) override;
    bool canOptimize(kxInfo* info) override;
    bool applyToInfos() override;

    /// Visits what a directory reaches. False for null and when the run was cancelled, in which case `postVisit` is not called.
    bool applyToDirectory(kxDirectory* directory);

    virtual void visitor(kxObject* object) = 0;
    virtual kxMetaObject* getVisitedObjectMeta() = 0;
    virtual void postVisit();
    virtual void preVisit();
};

} // namespace Kel::Opt
