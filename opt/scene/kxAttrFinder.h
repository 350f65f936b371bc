// Finding the attributes of nodes.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/core/kxDelayLine.h"
#include "platform/core/kxFieldTypes.h"
#include "platform/core/kxObjectList.h"
#include "platform/sg/kxNode.h"

#include <functional>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Core;

/// Finds the attributes that nodes refer to by their fields, themselves or through lists, in order. Attributes of shared nodes
/// lie far from one another, and so do the lists that hold them: each is asked for ahead and told of some nodes later.
class kxAttrFinder
{
public:
    /// Told of an attribute and the depth of its node.
    using Callback = std::function<void(const Attrs::kxAttr* attr, int depth)>;

    explicit kxAttrFinder(Callback callback) : m_callback(std::move(callback)) {}

    void find(const Sg::kxNode* node, int depth);
    /// Tells of what waits.
    void finish();

private:
    struct Stop
    {
        const kxObject* object;
        int depth;
    };
    struct Type
    {
        bool isKnown = false;
        std::vector<const kxObjectField*> fields; // that may lead to attributes
    };

    const std::vector<const kxObjectField*>& fieldsOf(const kxMetaObject* type);
    void open(const Stop& value);
    void openList(const kxObjectList& list, int depth);
    void approachAttr(const kxObject* attr, int depth);
    void arrive(const Stop& attr) { m_callback(static_cast<const Attrs::kxAttr*>(attr.object), attr.depth); }

    Callback m_callback;
    std::vector<Type> m_types; // by index
    kxDelayLine<Stop, 8> m_values;
    kxDelayLine<Stop, 8> m_attrs;
};

} // namespace Kel::Opt
