#include "opt/scene/kxShareAttrs.h"

#include "opt/items/kxDirectItems.h"
#include "opt/items/kxItemCall.h"
#include "opt/iterate/kxIterateObject.h"
#include "opt/scene/kxServices.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxShareAttrs)

/// The attributes kept, which are `_attributeList`, found by value.
class kxShareAttrs::Pool
{
public:
    Pool(kxShareAttrs& user, kxAttrList* list) : m_comparison(user), m_index(m_comparison), m_list(list)
    {
        for (kxAttr* attr : *list)
            m_index.append(attr);
    }

    /// The attribute that is kept in the place of `attr`: the first alike one, or itself.
    kxAttr* keep(kxAttr* attr)
    {
        // Many sets hold the same attribute: it is looked up once.
        uint32_t& number = m_numbers[attr];
        if (number == 0)
        {
            const uint32_t known = m_index.getCount();
            number = m_index.findOrAppend(attr) + 1;
            if (number > known)
                m_list->append(attr);
        }
        return m_index.get(number - 1);
    }

private:
    kxAttrComparison m_comparison;
    kxAttrIndex m_index;
    kxAttrList* m_list;
    kxTSerialMap<uint32_t> m_numbers; // in the list, from 1, of attributes that were looked up
};

void kxShareAttrs::listFields(kxFields<kxShareAttrs>& fields)
{
    fields.add(&kxShareAttrs::_attributeType, "_attributeType", "type to share; derived types are shared too");
    fields.add(&kxShareAttrs::_attributeList, "_attributeList",
               "first attribute of each value met so far, kept from one scene to the next");
    fields.add(&kxShareAttrs::_traversalName, "_traversalName", "item family that walks the scene");
}

kxShareAttrs::kxShareAttrs() = default;
kxShareAttrs::~kxShareAttrs() = default;

bool kxShareAttrs::configure(int)
{
    if (!_attributeType)
    {
        // The word is that of the promotion, which had the message first; hosts look for it.
        printf("ERROR: There is no registered attr type for the promotion\n");
        return false;
    }
    if (!isShareableAttrType(_attributeType))
    {
        printf("ERROR: The attribute %s can't be shared since it is not defined in kxAttrSet\n",
               _attributeType->getName().c_str());
        return false;
    }
    return true;
}

bool kxShareAttrs::applyInfo(kxInfo* info)
{
    const bool result = kxOptBase::applyInfo(info);
    // The base has done the same already; a second time shares nothing more.
    if (auto* database = kxCast<kxAnimationDatabase>(info))
        return defaultApplyAnimationDatabase(database, this) || result;
    return result;
}

bool kxShareAttrs::apply(kxSmartPointer<kxNode>& root)
{
    if (!root || !_attributeType)
        return false;
    const kxSmartPointer<kxIterateObject> walk(new (getCreationMemoryPool()) kxIterateObject);
    walk->_itemInterface = _itemInterface;
    walk->_traversalName = _traversalName;
    walk->setVisitOnce(true);
    walk->setStructureUntouched(true); // attributes are edited, nodes are not
    walk->begin(root);
    Pool pool(*this, _attributeList);
    while (kxSmartPointer<kxObject> object = walk->getCurrent())
    {
        // Advance before editing: a replacement must not disturb the walk.
        walk->getNext();
        if (isCancelled(*this))
            return false;
        shareAttrs(object, _attributeType, pool);
    }
    return true;
}

void kxShareAttrs::shareAttrs(kxObject* object, const kxMetaObject* type, Pool& pool)
{
    if (isLocked(*this, object))
    {
        if (holdsAttrOfType(*this, object, type))
            refuse("locked", object);
        return;
    }
    if (!canEditAttrList(object))
        return;
    const kxSmartPointer<kxAttrList> attrs = getAttrList(object);
    if (!attrs)
        return;
    for (kxAttr* attr : *attrs)
    {
        if (!attr || !attr->isOfType(type))
            continue;
        kxAttr* kept = pool.keep(attr);
        if (kept != attr && replaceAttr(object, attr, kept))
            count("attributes shared");
    }
    if (auto* geometry = kxCast<kxGeometry>(object); geometry && geometry->_variants)
        for (kxMaterialVariant* variant : *geometry->_variants)
            if (variant && !isLocked(*this, variant))
                shareVariantAttrs(*variant, type, pool);
}

// What a variant and a path have in common stays in common: a material of which one of the two kept its own texture bind
// would be two.
void kxShareAttrs::shareVariantAttrs(kxMaterialVariant& variant, const kxMetaObject* type, Pool& pool)
{
    for (uint32_t i = 0; i < variant._attrs->getCount(); ++i)
    {
        kxAttr* attr = variant._attrs->get(i);
        if (!attr || !attr->isOfType(type))
            continue;
        if (kxAttr* kept = pool.keep(attr); kept != attr)
        {
            variant._attrs->set(i, kept);
            count("attributes shared");
        }
    }
}

bool kxShareAttrs::isAttrAlike(kxAttr* a, kxAttr* b)
{
    return kxAttrComparison::isAlikeByItem(*this, a, b);
}

bool kxShareAttrs::canEditAttrList(kxObject* object)
{
    kxDirectItems::Property property;
    return askProperty(*this, object, property) && property.canReplaceAttr;
}

kxSmartPointer<kxAttrList> kxShareAttrs::getAttrList(kxObject* object)
{
    return askAttrList(*this, object, kxItemCall::TRAVERSAL);
}

bool kxShareAttrs::replaceAttr(kxObject* container, kxAttr* oldAttr, kxAttr* newAttr)
{
    if (kxDirectItems(*this).replaceAttr(container, oldAttr, newAttr))
        return true;
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(this, names.replaceAttrItem, container);
    if (!call)
        return false;
    call.set(names.containerField, container)
        .set(names.oldAttrField, static_cast<kxObject*>(oldAttr))
        .set(names.newAttrField, static_cast<kxObject*>(newAttr));
    return call.run(names.replaceAttr);
}

} // namespace Kel::Opt
