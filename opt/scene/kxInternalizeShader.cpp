#include "opt/scene/kxInternalizeShader.h"

#include "opt/scene/kxServices.h"
#include "platform/sg/kxIniShaderFactory.h"
#include "platform/sg/kxInterpretedShader.h"
#include "platform/sg/kxInterpretedShaderData.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxInternalizeShader)

kxInternalizeShader::kxInternalizeShader()
{
    _visitedMetaObject = getVisitedObjectMeta();
}

bool kxInternalizeShader::configure(int)
{
    return true;
}

kxMetaObject* kxInternalizeShader::getVisitedObjectMeta()
{
    return Kel::Sg::kxInterpretedShader::staticMetaObject();
}

void kxInternalizeShader::visitor(kxObject* object)
{
    using namespace Kel::Sg;
    // Settings may ask for visits of other objects too.
    auto* shader = kxCast<kxInterpretedShader>(object);
    if (!shader)
        return;
    auto* data = kxCast<kxInterpretedShaderData>(shader->getShaderData());
    if (!data)
        return refuse("no data of an interpreted shader", shader);
    auto* factory = kxCast<kxIniShaderFactory>(data->getFactory());
    if (!factory)
        return refuse("no factory for ini-style text", shader);
    if (isLocked(*this, shader))
        return refuse("locked", shader);
    const bool wasInScene = factory->_storage == kxIniShaderFactory::kInScene;
    factory->setStorage(kxIniShaderFactory::kInScene);
    if (!factory->store())
        refuse("source cannot be read", shader);
    else if (!wasInScene)
        count("sources taken in");
}

} // namespace Kel::Opt
