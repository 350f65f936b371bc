#include "opt/iterate/kxIterateGraph.h"

#include "platform/sg/kxPrefetch.h"
#include "platform/sg/kxTimeTransform.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxIterateGraph)

void kxIterateGraph::listFields(kxFields<kxIterateGraph>& fields)
{
    fields.add(&kxIterateGraph::_currentPath, "_currentPath", "nodes from the root to the current one");
    fields.add(&kxIterateGraph::_currentIndices, "_currentIndices",
               "child index of each node of the path behind the root");
}

kxIterateGraph::~kxIterateGraph() = default;

namespace
{

// Large graphs do not fit into the caches: the walk asks ahead for the siblings that it comes to soon, and on a long way up for
// the parents.
constexpr uint32_t kSiblingsAhead = 3;
constexpr uint32_t kParentsAhead = 8;

} // namespace

kxNode* kxIterateGraph::begin(kxNode* root)
{
    _currentPath->clear();
    _currentIndices->clear();
    _currentPath->append(root);
    return root;
}

kxNode* kxIterateGraph::getCurrent() const
{
    return _currentPath->isEmpty() ? nullptr : _currentPath->getLast();
}

kxNode* kxIterateGraph::getNext()
{
    if (_currentPath->isEmpty())
        return nullptr;
    const auto* group = kxCast<kxGroup>(_currentPath->getLast());
    const uint32_t count = group ? group->getChildCount() : 0;
    if (count == 0)
        return getNextSkippingChildren();
    kxNode* child = group->getChild(0u);
    for (uint32_t i = 1; i <= kSiblingsAhead && i < count; ++i)
        prefetchObject(group->getChild(i));
    _currentPath->append(child);
    _currentIndices->append(0);
    return child;
}

kxNode* kxIterateGraph::getNextSkippingChildren()
{
    kxNonRefCountedNodeList& path = *_currentPath;
    const uint32_t start = path.getCount();
    for (uint32_t depth = start; depth > 1; --depth)
    {
        const auto index = static_cast<uint32_t>(_currentIndices->getLast()) + 1;
        const auto* parent = static_cast<const kxGroup*>(path.get(depth - 2));
        const uint32_t count = parent->getChildCount();
        if (index < count)
        {
            kxNode* child = parent->getChild(index);
            if (count >= kWideCount)
                prefetchBranches([&](uint32_t ahead)
                                 { return index + ahead < count ? parent->getChild(index + ahead) : nullptr; },
                                 [](const kxNode*) {});
            else if (index + kSiblingsAhead < count)
                prefetchObject(parent->getChild(index + kSiblingsAhead));
            path.set(depth - 1, child);
            _currentIndices->set(depth - 2, static_cast<int32_t>(index));
            return child;
        }
        if (depth + 2 < start && depth > kParentsAhead)
        {
            prefetchObject(path.get(depth - kParentsAhead));
            const auto* nearer = static_cast<const kxGroup*>(path.get(depth - kParentsAhead / 2));
            __builtin_prefetch(nearer->_childList.get());
        }
        path.removeLast();
        _currentIndices->removeLast();
    }
    path.clear();
    return nullptr;
}

kxNode* kxIterateGraph::getPrevious()
{
    kxNonRefCountedNodeList& path = *_currentPath;
    if (path.getCount() < 2)
    {
        path.clear();
        return nullptr;
    }
    const int32_t index = _currentIndices->getLast();
    path.removeLast();
    _currentIndices->removeLast();
    if (index == 0)
        return path.getLast();
    uint32_t childIndex = static_cast<uint32_t>(index) - 1;
    const auto* group = static_cast<const kxGroup*>(path.getLast());
    for (;;)
    {
        kxNode* child = group->getChild(childIndex);
        path.append(child);
        _currentIndices->append(static_cast<int32_t>(childIndex));
        group = kxCast<kxGroup>(child);
        if (!group || group->getChildCount() == 0)
            return child;
        childIndex = group->getChildCount() - 1;
    }
}

bool kxIterateGraph::next()
{
    getNext();
    return isNotLast();
}

bool kxIterateGraph::previous()
{
    getPrevious();
    return isNotLast();
}

namespace
{

using Step = kxNode* (kxIterateGraph::*)();

bool isType(const kxNode* node, const kxMetaObject* type)
{
    return node && node->isOfType(type);
}
bool isExactType(const kxNode* node, const kxMetaObject* type)
{
    return node && node->isOfExactType(type);
}

template <class Test>
kxNode* stepUntil(kxIterateGraph& iterate, Step step, Test test, const kxMetaObject* type)
{
    do
        (iterate.*step)();
    while (iterate.isNotLast() && !test(iterate.getCurrent(), type));
    return iterate.getCurrent();
}

} // namespace

kxNode* kxIterateGraph::beginOfType(kxNode* root, const kxMetaObject* type)
{
    begin(root);
    return isType(root, type) ? root : getNextOfType(type);
}

kxNode* kxIterateGraph::beginOfExactType(kxNode* root, const kxMetaObject* type)
{
    begin(root);
    return isExactType(root, type) ? root : getNextOfExactType(type);
}

kxNode* kxIterateGraph::getNextOfType(const kxMetaObject* type)
{
    return stepUntil(*this, &kxIterateGraph::getNext, isType, type);
}

kxNode* kxIterateGraph::getNextOfExactType(const kxMetaObject* type)
{
    return stepUntil(*this, &kxIterateGraph::getNext, isExactType, type);
}

kxNode* kxIterateGraph::getPreviousOfType(const kxMetaObject* type)
{
    return stepUntil(*this, &kxIterateGraph::getPrevious, isType, type);
}

kxNode* kxIterateGraph::getPreviousOfExactType(const kxMetaObject* type)
{
    return stepUntil(*this, &kxIterateGraph::getPrevious, isExactType, type);
}

bool kxIterateGraph::replaceCurrentNode(kxSmartPointer<kxNode> node)
{
    const uint32_t depth = _currentPath->getCount();
    if (depth == 0)
        return false;
    if (depth > 1)
    {
        auto* parent = static_cast<kxGroup*>(_currentPath->get(depth - 2));
        const auto index = static_cast<uint32_t>(_currentIndices->getLast());
        if (index >= parent->getChildCount())
            return false;
        parent->setChild(index, node);
    }
    _currentPath->set(depth - 1, node);
    return true;
}

bool kxIterateGraph::validateHierarchy(kxNonRefCountedNodeList* path) const
{
    for (uint32_t i = 0; i + 2 < path->getCount(); ++i)
    {
        const auto* group = kxCast<kxGroup>(path->get(i));
        if (!group || group->getChild(path->get(i + 1)) < 0)
            return false;
    }
    return true;
}

bool kxIterateGraph::hasInstanciatedNode() const
{
    for (const kxNode* node : *_currentPath)
        if (node && node->getParentCount() > 1)
            return true;
    return false;
}

bool kxIterateGraph::hasAnimatedTransform() const
{
    for (kxNode* node : *_currentPath)
        if (isType(node, kxTransform::staticMetaObject()) &&
            (node->isAnimated() || node->isDynamic() || isType(node, kxTimeTransform::staticMetaObject())))
            return true;
    return false;
}

kxMatrix44f kxIterateGraph::evaluateModelViewMatrix() const
{
    kxMatrix44f matrix;
    for (kxNode* node : *_currentPath)
        if (const auto* transform = kxCast<kxTransform>(node))
            matrix = transform->getMatrix() * matrix;
    return matrix;
}

} // namespace Kel::Opt
