#include "opt/iterate/kxOptVisitObject.h"

#include "opt/framework/kxOptInterface.h"
#include "platform/core/kxDirectory.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxSceneInfo.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptVisitObject)

void kxOptVisitObject::listFields(kxFields<kxOptVisitObject>& fields)
{
    fields.add(&kxOptVisitObject::_visitedMetaObject, "_visitedMetaObject", "type of the objects to visit");
}

void kxOptVisitObject::preVisit() {}
void kxOptVisitObject::postVisit() {}

bool kxOptVisitObject::canOptimize(kxNode*)
{
    return true;
}

bool kxOptVisitObject::canOptimize(kxInfo* info)
{
    return kxCast<kxSceneInfo>(info) || kxCast<kxAnimationDatabase>(info);
}

bool kxOptVisitObject::applyInfo(kxInfo* info)
{
    const auto directory = kxNew<kxDirectory>();
    directory->addEntry(info, kxStringRef());
    return applyToDirectory(directory);
}

bool kxOptVisitObject::apply(kxSmartPointer<kxNode>& root)
{
    if (!root)
        return false;
    const auto directory = kxNew<kxDirectory>();
    directory->addEntry(root, kxStringRef());
    return applyToDirectory(directory);
}

bool kxOptVisitObject::applyToInfos()
{
    const auto directory = kxNew<kxDirectory>();
    if (_optInterface && _optInterface->getInfos())
        for (kxInfo* info : *_optInterface->getInfos())
            if (!_optInterface->infoIsDisabled(info) && canOptimize(info))
                directory->addEntry(info, info->getName());
    return applyToDirectory(directory);
}

bool kxOptVisitObject::applyToDirectory(kxDirectory* directory)
{
    if (!directory)
        return false;
    if (!_visitedMetaObject)
        _visitedMetaObject = getVisitedObjectMeta();
    preVisit();
    const uint32_t count = directory->getSharedEntryCount();
    for (uint32_t i = 0; i < count; ++i)
    {
        if (_optInterface && _optInterface->getOptCancelState())
            return false;
        // The entry is made when asked for, so the object answers first whether it is worth that.
        kxObject* object = directory->getSharedObject(i);
        if (object && object->isOfType(_visitedMetaObject) && kxCast<kxObjectDirEntry>(directory->getSharedEntry(i)))
            visitor(object);
    }
    postVisit();
    return true;
}

} // namespace Kel::Opt
