#include "opt/items/kxCompareAttr.h"

#include "opt/items/kxItemNames.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/attrs/kxTextureBindAttr.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxCompareAttr)
KX_IMPLEMENT(kxCompareAttrForTexture)

void kxCompareAttr::listFields(kxFields<kxCompareAttr>& fields)
{
    constexpr uint32_t kRequired = kxMetaField::PARAMETER | kxMetaField::REQUIRED;
    fields.add(&kxCompareAttr::_attributeOne, "_attributeOne", "one attribute").setFlags(kRequired);
    fields.add(&kxCompareAttr::_attributeTwo, "_attributeTwo", "the other attribute").setFlags(kRequired);
    fields.add(&kxCompareAttr::_compare, "_compare", "either may stand in the other's place");
}

kxMetaObject* kxCompareAttr::getInterfacedType()
{
    return kxAttr::staticMetaObject();
}

kxStringRef kxCompareAttr::getInterfaceName()
{
    return getMetaObject()->getName();
}

kxSmartPointer<kxInterfaceDeclarationList> kxCompareAttr::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"compare", &kxCompareAttr::compare}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxCompareAttr::userSetupOutput(kxParameterSet* result)
{
    result->setFieldValue(kxItemNames::get().compareField, _compare);
}

bool kxCompareAttr::isLocked(kxAttr* attr) const
{
    return _lockInterface && _lockInterface->isLocked(attr);
}

bool kxCompareAttr::compareAttrs(kxAttr* a, kxAttr* b) const
{
    return areAlike(_lockInterface, a, b);
}

bool kxCompareAttr::areAlike(kxLockInterface* locks, kxAttr* a, kxAttr* b)
{
    return a && b && !(locks && (locks->isLocked(a) || locks->isLocked(b))) && a->isAlikeShallow(b);
}

kxSmartPointer<kxParameterSet> kxCompareAttr::compare(kxParameterSet*)
{
    kxParameterSetWrapper result;
    _compare = compareAttrs(_attributeOne, _attributeTwo);
    result.success();
    return result;
}

kxMetaObject* kxCompareAttrForTexture::getInterfacedType()
{
    return kxTextureBindAttr::staticMetaObject();
}

kxSmartPointer<kxParameterSet> kxCompareAttrForTexture::compare(kxParameterSet*)
{
    kxParameterSetWrapper result;
    result.success();
    _compare = false;
    auto* first = kxCast<kxTextureBindAttr>(_attributeOne);
    auto* second = kxCast<kxTextureBindAttr>(_attributeTwo);
    if (!first || !second)
        return result;

    // Without their textures, so that the binds are compared by how they bind. What is detached must come back.
    const kxSmartPointer<kxTextureAttr> firstTexture = first->getTexture();
    const kxSmartPointer<kxTextureAttr> secondTexture = second->getTexture();
    first->setTexture(nullptr);
    second->setTexture(nullptr);
    _compare = !isLocked(first) && !isLocked(second) && first->isAlikeShallow(second);
    if (!firstTexture != !secondTexture)
        _compare = false;
    if (_compare && firstTexture)
        _compare = compareAttrs(firstTexture, secondTexture);
    first->setTexture(firstTexture);
    second->setTexture(secondTexture);
    return result;
}

} // namespace Kel::Opt
