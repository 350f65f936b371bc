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
    m_roots.push_back(root);
    struct Step
    {
        kxNode* node;
        uint32_t nextChild;
    };
    std::vector<Step> stack;
    const auto enter = [&](kxNode* node)
    {
        Value& value = m_values[node];
        if (!value.met)
            stack.push_back({node, 0});
        value.met = true;
    };
    enter(root);
    while (!stack.empty())
    {
        Step& step = stack.back();
        const auto* group = kxCast<kxGroup>(step.node);
        if (group && step.nextChild < group->getChildCount())
        {
            if (kxNode* child = group->getChild(step.nextChild++))
                enter(child);
            continue;
        }
        m_postOrder.push_back(step.node);
        stack.pop_back();
    }
}

void kxScenePaths::start()
{
    for (const kxNode* node : m_postOrder)
        m_values[node] = {0, 1, true};
    for (const kxNode* root : m_roots)
        ++m_values[root].paths;
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
