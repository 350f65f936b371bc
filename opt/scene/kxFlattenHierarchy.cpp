#include "opt/scene/kxFlattenHierarchy.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxFlattenNode.h"
#include "opt/items/kxItemInterface.h"
#include "opt/items/kxItemNames.h"
#include "opt/scene/kxCollapseHierarchy.h"
#include "platform/sg/kxAttrSet.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxFlattenHierarchy)

void kxFlattenHierarchy::listFields(kxFields<kxFlattenHierarchy>& fields)
{
    fields.add(&kxFlattenHierarchy::_flattenGroup, "_flattenGroup", "flatten plain groups");
    fields.add(&kxFlattenHierarchy::_flattenAttrSet, "_flattenAttrSet", "flatten attribute sets");
    fields.add(&kxFlattenHierarchy::_traversalName, "_traversalName",
               "item family that gives the parents and children of an object");
}

bool kxFlattenHierarchy::configure(int)
{
    return true;
}

bool kxFlattenHierarchy::apply(kxSmartPointer<kxNode>& root)
{
    kxSmartPointer<kxCollapseHierarchy> collapse;
    if (_optInterface)
        collapse = kxCast<kxCollapseHierarchy>(_optInterface->createOptBase(kxStringRef("kxCollapseHierarchy")));
    if (!collapse)
        collapse = kxNew<kxCollapseHierarchy>(); // the service has not listed its optimizations
    if (!_itemInterface)
        return false;
    setupInterfaced(collapse);
    collapse->setConfiguration(getConfiguration());
    collapse->_traversalName = _traversalName;

    bool result = true;
    if (_flattenGroup)
        result = flatten(collapse, kxGroup::staticMetaObject(), kxFlattenNodeForGroup::staticMetaObject(), root);
    if (_flattenAttrSet)
        result &= flatten(collapse, kxAttrSet::staticMetaObject(), kxFlattenNodeForAttrSet::staticMetaObject(), root);
    addReport(*collapse);
    return result;
}

// The item registry answers with the flatten item for the time of the pass.
bool kxFlattenHierarchy::flatten(kxCollapseHierarchy* collapse, kxMetaObject* nodeType, kxMetaObject* flattenItem,
                                 kxSmartPointer<kxNode>& root)
{
    const kxStringRef interfaceName = kxItemNames::get().collapseNode;
    const kxSmartPointer<kxMetaObject> saved = _itemInterface->getRegisteredItemBase(interfaceName, nodeType);
    _itemInterface->setRegisteredItemBase(interfaceName, nodeType, flattenItem);
    kxFlattenNode::setFlattenRoot(root);
    collapse->_nodeType = nodeType;
    const bool result = collapse->apply(root);
    kxFlattenNode::setFlattenRoot(nullptr);
    _itemInterface->setRegisteredItemBase(interfaceName, nodeType, saved);
    return result;
}

} // namespace Kel::Opt
