// An optimization that proves that the picture did not change.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "opt/verify/kxPictureComparison.h"

namespace Kel::Opt
{

/// Changes nothing. Its first use in a run remembers the picture of each scene; later uses compare, and where the
/// picture is another one, print the differences and fail. What is remembered stays as it was: each use compares with
/// the first.
///
/// The picture of a scene is also what the clips of the file do to it, at times at their keys and between them.
///
/// Cost: one walk over all paths, and about what loading the clips costs; about 100 bytes for each draw until the run ends.
class kxVerifyPicture : public kxOptBase
{
    KX_OBJECT(kxVerifyPicture, kxOptBase)
    static void listFields(kxFields<kxVerifyPicture>& fields);

    float _tolerance = 1e-5f;
    bool _ignoreImages = false;
    uint32_t _maxLines = 20;
    bool _remember = false;
    float _motionTolerance = 1e-3f;
    float _imageTolerance = 0;

    bool configure(int section) override;
    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;
    /// Also segments and dynamic nodes can be looked at.
    bool canOptimize(kxNode* root) override;
    bool canOptimize(kxInfo* info) override;

private:
    class Memory;

    bool verify(const kxSceneInfo* scene, kxNode* root);
};

} // namespace Kel::Opt
