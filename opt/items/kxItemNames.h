// Names of the item protocol, looked up in the string pool once.
#pragma once

#include "opt/framework/kxOptNames.h"

namespace Kel::Opt
{

/// Interface names, function names and parameter names that the library's items and their clients exchange.
struct kxItemNames
{
    const kxStringRef childEdit{"kxChildEdit"};
    const kxStringRef attrEdit{"kxAttrEdit"};
    const kxStringRef replaceChildItem{"kxReplaceChild"};
    const kxStringRef replaceAttrItem{"kxReplaceAttr"};
    const kxStringRef replaceObjectItem{"kxReplaceObject"};
    const kxStringRef objectProperty{"kxObjectProperty"};
    const kxStringRef collapseNode{"kxCollapseNode"};
    const kxStringRef compareAttr{"kxCompareAttr"};
    const kxStringRef nodeTraversal{"kxNodeTraversal"};
    const kxStringRef attrTraversal{"kxAttrTraversal"};
    const kxStringRef objectTraversal{"kxObjectTraversal"};
    const kxStringRef fieldUpdate{"kxFieldUpdate"};
    const kxStringRef fieldSource{"kxFieldSource"};

    const kxStringRef getChildList{"getChildList"};
    const kxStringRef getParentList{"getParentList"};
    const kxStringRef getProperty{"getProperty"};
    const kxStringRef addChild{"addChild"};
    const kxStringRef removeChild{"removeChild"};
    const kxStringRef addAttr{"addAttr"};
    const kxStringRef removeAttr{"removeAttr"};
    const kxStringRef replaceChild{"replaceChild"};
    const kxStringRef replaceAttr{"replaceAttr"};
    const kxStringRef replaceObject{"replaceObject"};
    const kxStringRef collapse{"collapse"};
    const kxStringRef compare{"compare"};
    const kxStringRef updateField{"updateField"};
    const kxStringRef updateSource{"updateSource"};

    const kxStringRef succeedField{"succeed"};
    const kxStringRef containerField{"_container"};
    const kxStringRef childField{"_child"};
    const kxStringRef attrField{"_attr"};
    const kxStringRef oldChildField{"_oldChild"};
    const kxStringRef newChildField{"_newChild"};
    const kxStringRef oldAttrField{"_oldAttr"};
    const kxStringRef newAttrField{"_newAttr"};
    const kxStringRef childListField{"_childList"};
    const kxStringRef parentListField{"_parentList"};
    const kxStringRef objectField{"_object"};
    const kxStringRef canAddChildField{"_canAddChild"};
    const kxStringRef canRemoveChildField{"_canRemoveChild"};
    const kxStringRef canReplaceChildField{"_canReplaceChild"};
    const kxStringRef canAddAttrField{"_canAddAttr"};
    const kxStringRef canRemoveAttrField{"_canRemoveAttr"};
    const kxStringRef canReplaceAttrField{"_canReplaceAttr"};
    const kxStringRef nodeField{"_node"};
    const kxStringRef collapseField{"_collapse"};
    const kxStringRef replaceNodeField{"_replaceNode"};
    const kxStringRef attributeOneField{"_attributeOne"};
    const kxStringRef attributeTwoField{"_attributeTwo"};
    const kxStringRef compareField{"_compare"};
    const kxStringRef valueField{"_value"};

    static const kxItemNames& get()
    {
        static const kxItemNames names;
        return names;
    }
};

} // namespace Kel::Opt
