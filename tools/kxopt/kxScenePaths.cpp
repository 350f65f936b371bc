#include "tools/kxopt/kxScenePaths.h"

#include "platform/sg/kxInstanceArray.h"

#include <algorithm>

using namespace Kel::Core;
using namespace Kel::Sg;

namespace Kel::Tool
{

uint64_t kxScenePaths::add(uint64_t a, uint64_t b)
{
    uint64_t sum;
    return __builtin_add_overflow(a, b, &sum) ? UINT64_MAX : sum;
}

uint64_t kxScenePaths::multiply(uint64_t a, uint64_t b)
{
    uint64_t product;
    return __builtin_mul_overflow(a, b, &product) ? UINT64_MAX : product;
}

void kxScenePaths::addRoot(kxNode* root)
{
    if (!root)
        return;
    ++m_values[root].paths;
    struct Step
    {
        kxGroup* group;
        uint32_t nextChild;
    };
    std::vector<Step> stack;
    const auto enter = [&](kxNode* node)
    {
        Value& value = m_values[node];
        if (value.depth != 0)
            return;
        value.depth = 1;
        if (auto* group = kxCast<kxGroup>(node); group && group->getChildCount() > 0)
            stack.push_back({group, 0});
        else
            m_postOrder.push_back(node);
    };
    enter(root);
    while (!stack.empty())
    {
        Step& step = stack.back();
        const uint32_t count = step.group->getChildCount();
        if (step.nextChild == count)
        {
            m_postOrder.push_back(step.group);
            stack.pop_back();
            continue;
        }
        if (step.nextChild + kAhead < count)
            prefetchObject(step.group->getChild(step.nextChild + kAhead));
        if (kxNode* child = step.group->getChild(step.nextChild++))
            enter(child);
    }
}

void kxScenePaths::handDown(kxNode* node, const Value& value)
{
    const auto* group = kxCast<kxGroup>(node);
    if (!group)
        return;
    uint64_t paths = value.paths;
    if (const auto* array = kxCast<kxInstanceArray>(node))
        paths = multiply(paths, static_cast<uint64_t>(std::max<int64_t>(0, array->getInstanceCount())));
    for (uint32_t i = 0; i < group->getChildCount(); ++i)
        if (const kxNode* child = group->getChild(i))
        {
            Value& below = m_values[child];
            below.paths = add(below.paths, paths);
            below.depth = std::max(below.depth, value.depth + 1);
        }
}

} // namespace Kel::Tool
