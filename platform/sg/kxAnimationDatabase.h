// Clips, skeletons and skins of a file.
#pragma once

#include "platform/core/kxInfo.h"
#include "platform/sg/kxAnimation.h"
#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxSkeleton.h"
#include "platform/sg/kxSkin.h"

namespace Kel::Sg
{

/// The clips, skeletons and skins of a file.
class kxAnimationDatabase : public kxInfo
{
    KX_OBJECT(kxAnimationDatabase, kxInfo)
    static void listFields(kxFields<kxAnimationDatabase>& fields);

    kxSmartPointer<kxAnimationList> _animationList = kxNew<kxAnimationList>();
    kxSmartPointer<kxSkeletonList> _skeletonList = kxNew<kxSkeletonList>();
    kxSmartPointer<kxSkinList> _skinList = kxNew<kxSkinList>();

    kxAnimationList* getAnimationList() const { return _animationList; }
    kxSkeletonList* getSkeletonList() const { return _skeletonList; }
    kxSkinList* getSkinList() const { return _skinList; }
};

} // namespace Kel::Sg
