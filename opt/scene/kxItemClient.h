// How an optimization calls items.
#pragma once

#include "opt/framework/kxInterfaced.h"
#include "opt/parameters/kxParameterSet.h"

#include <initializer_list>

namespace Kel::Opt
{

/// One input of an item's function.
struct kxItemInput
{
    kxStringRef name;
    kxObject* value;
};

/// Calls functions of items for an optimization: finds the item that serves the object's type, sets the inputs, runs the
/// function. Where there is no such item, or it fails, the reason is printed through the optimization and there is no result.
class kxItemClient
{
public:
    /// Names of the interfaces, functions and fields that the optimizations of this folder use.
    struct Names
    {
        kxStringRef attrEdit{"kxAttrEdit"}, attrTraversal{"kxAttrTraversal"}, childEdit{"kxChildEdit"},
            collapseNode{"kxCollapseNode"}, compareAttr{"kxCompareAttr"}, objectProperty{"kxObjectProperty"},
            replaceAttr{"kxReplaceAttr"}, replaceChild{"kxReplaceChild"};
        kxStringRef addChildFunction{"addChild"}, collapseFunction{"collapse"}, compareFunction{"compare"},
            getChildListFunction{"getChildList"}, getParentListFunction{"getParentList"},
            getPropertyFunction{"getProperty"}, removeAttrFunction{"removeAttr"}, removeChildFunction{"removeChild"},
            replaceAttrFunction{"replaceAttr"}, replaceChildFunction{"replaceChild"};
        kxStringRef attr{"_attr"}, attributeOne{"_attributeOne"}, attributeTwo{"_attributeTwo"}, child{"_child"},
            childList{"_childList"}, collapse{"_collapse"}, compare{"_compare"}, container{"_container"},
            newAttr{"_newAttr"}, newChild{"_newChild"}, node{"_node"}, object{"_object"}, oldAttr{"_oldAttr"},
            oldChild{"_oldChild"}, parentList{"_parentList"}, replaceNode{"_replaceNode"};
        kxStringRef canAddChild{"_canAddChild"}, canRemoveAttr{"_canRemoveAttr"}, canRemoveChild{"_canRemoveChild"},
            canReplaceAttr{"_canReplaceAttr"}, canReplaceChild{"_canReplaceChild"};
    };
    static const Names& names();

    /// What is printed where no item serves the type: names of the interface and of the type follow the texts' order.
    static const char kNoInterface[];
    static const char kNoTraversal[];
    static const char kNoComparison[];

    /// `user` outlives the client.
    explicit kxItemClient(kxInterfaced& user) : m_user(user) {}

    /// Result of a function for the type of `object`; null, with the reason printed, when there is none.
    kxSmartPointer<kxParameterSet> call(kxStringRef item, kxStringRef function, kxObject* object,
                                        std::initializer_list<kxItemInput> inputs,
                                        const char* noItemText = kNoInterface) const;
    /// The same where the client's text names another interface than the one that was looked for.
    kxSmartPointer<kxParameterSet> call(kxStringRef item, kxStringRef function, kxObject* object,
                                        std::initializer_list<kxItemInput> inputs, const char* noItemText,
                                        kxStringRef nameInText) const;

    /// True when all of these properties of an object are true.
    bool hasProperties(kxObject* object, std::initializer_list<kxStringRef> properties) const;

    /// A list that a traversal item gives for `object`; null when there is none, or when it is no list of objects.
    kxSmartPointer<kxObjectList> getList(kxStringRef item, kxStringRef function, kxStringRef result, kxObject* object,
                                         const char* noItemText) const;

    /// True when the object must be left alone.
    bool isLocked(kxObject* object) const;
    /// True when the run shall end.
    bool isCancelled() const;

private:
    kxInterfaced& m_user;
};

} // namespace Kel::Opt
