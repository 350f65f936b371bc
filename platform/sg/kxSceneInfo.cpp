#include "platform/sg/kxSceneInfo.h"

#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxPrefetch.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxPrefetchBranches.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxTimeSwitch.h"
#include "platform/sg/kxTimeTransform.h"
#include "platform/sg/kxTransformSequence1_5.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace Kel::Sg
{

KX_IMPLEMENT(kxSceneInfo)
KX_IMPLEMENT(kxSceneInfoList)

void kxSceneInfo::listFields(kxFields<kxSceneInfo>& fields)
{
    fields.add(&kxSceneInfo::_sceneGraph, "_sceneGraph", "root of the graph");
    fields.add(&kxSceneInfo::_cameraList, "_cameraList", "cameras of the graph");
    fields.add(&kxSceneInfo::_textureList, "_textureList", "textures of the graph");
    fields.add(&kxSceneInfo::_animationStart, "_animationStart", "time at which the scene's own motion starts");
    fields.add(&kxSceneInfo::_animationEnd, "_animationEnd", "time at which the scene's own motion ends");
    fields.add(&kxSceneInfo::_animationStep, "_animationStep", "time between two pictures");
}

kxNode* findNode(kxNode* root, bool (*question)(kxNode* node, void* context), void* context)
{
    // Large graphs do not fit into the caches: nodes are asked for some steps before the walk comes to them, and with those of
    // wide groups what lies below them. Of these the walk comes to a new one whenever the stack is as short as never since.
    constexpr size_t kAhead = 6;
    std::vector<kxNode*> stack;
    size_t shortest = 0;
    kxTSerialMap<bool> met;
    if (root)
        stack.push_back(root);
    while (!stack.empty())
    {
        kxNode* node = stack.back();
        stack.pop_back();
        if (stack.size() < shortest)
        {
            shortest = stack.size();
            prefetchBranches<4>([&](size_t ahead)
                                { return ahead <= stack.size() ? stack[stack.size() - ahead] : nullptr; },
                                [&](const kxNode* near) { __builtin_prefetch(&met[near]); });
        }
        else if (stack.size() >= kAhead)
        {
            prefetchObject(stack[stack.size() - kAhead]);
            if (const auto* group = kxCast<kxGroup>(stack[stack.size() - kAhead / 2]))
                prefetchObject(group->_childList);
        }
        if (bool& known = met[node]; known)
            continue;
        else
            known = true;
        if (question(node, context))
            return node;
        const auto* group = kxCast<kxGroup>(node);
        const uint32_t count = group ? group->getChildCount() : 0;
        for (uint32_t i = count; i-- > 0;)
            if (kxNode* child = group->getChild(i))
                stack.push_back(child);
        if (count >= kWideCount)
            shortest = stack.size();
    }
    return nullptr;
}

void forEachNodeOnce(kxNode* root, void (*callback)(kxNode* node, void* context), void* context)
{
    struct Call
    {
        void (*callback)(kxNode*, void*);
        void* context;
    } call{callback, context};
    findNode(
        root,
        [](kxNode* node, void* data)
        {
            const Call& made = *static_cast<Call*>(data);
            made.callback(node, made.context);
            return false;
        },
        &call);
}

kxNode* findCycle(kxNode* root)
{
    if (!root)
        return nullptr;
    struct Step
    {
        const kxGroup* group;
        uint32_t next;
    };
    enum State : char
    {
        NOT_MET,
        OPEN,
        DONE
    };
    kxTSerialMap<State> states;
    std::vector<Step> path;
    auto enter = [&](kxNode* node)
    {
        if (const auto* group = kxCast<kxGroup>(node))
        {
            states[node] = OPEN;
            path.push_back({group, 0});
        }
    };
    enter(root);
    while (!path.empty())
    {
        Step& step = path.back();
        if (step.next == step.group->getChildCount())
        {
            states[step.group] = DONE;
            path.pop_back();
            continue;
        }
        kxNode* child = step.group->getChild(step.next++);
        if (!child || !child->isOfType(kxGroup::staticMetaObject()))
            continue;
        const State state = states.get(child);
        if (state == NOT_MET)
            enter(child);
        else if (state == OPEN)
            return child;
    }
    return nullptr;
}

void kxSceneInfo::updateCameraList()
{
    _cameraList = kxNew<kxCameraList>();
    forEachNodeOnce(
        _sceneGraph,
        [](kxNode* node, void* list)
        {
            if (auto* camera = kxCast<kxCamera>(node))
                static_cast<kxCameraList*>(list)->append(camera);
        },
        _cameraList.get());
}

void kxSceneInfo::updateTextureList()
{
    _textureList = kxNew<kxTextureAttrList>();
    struct Collector
    {
        kxTextureAttrList* list;
        std::unordered_set<const kxObject*> met;

        void collect(const kxAttrList* attrs)
        {
            for (kxAttr* attr : *attrs)
            {
                auto* texture = kxCast<kxTextureAttr>(attr);
                if (const auto* bind = kxCast<kxTextureBindAttr>(attr))
                    texture = bind->getTexture();
                if (texture && met.insert(texture).second)
                    list->append(texture);
            }
        }
    } collector{_textureList, {}};
    forEachNodeOnce(
        _sceneGraph,
        [](kxNode* node, void* context)
        {
            auto* collector = static_cast<Collector*>(context);
            if (const auto* set = kxCast<kxAttrSet>(node))
                collector->collect(set->getAttrs());
            const auto* geometry = kxCast<kxGeometry>(node);
            if (geometry && geometry->_variants)
                for (const kxMaterialVariant* variant : *geometry->_variants)
                    if (variant)
                        collector->collect(variant->_attrs);
            if (const auto* shader = kxCast<kxShader>(node))
                for (const kxShaderPass* pass : *shader->_passes)
                    if (pass)
                        collector->collect(pass->getAttrs());
        },
        &collector);
}

void kxSceneInfo::updateAnimationTime()
{
    struct Span
    {
        int64_t first = INT64_MAX;
        int64_t last = INT64_MIN;

        void add(const kxLongList* times)
        {
            for (uint32_t i = 0; times && i < times->getCount(); ++i)
            {
                first = std::min(first, times->get(i));
                last = std::max(last, times->get(i));
            }
        }
    } span;
    forEachNodeOnce(
        _sceneGraph,
        [](kxNode* node, void* context)
        {
            auto* span = static_cast<Span*>(context);
            if (const auto* timeSwitch = kxCast<kxTimeSwitch>(node))
                span->add(timeSwitch->_times);
            if (const auto* transform = kxCast<kxTimeTransform>(node))
                if (const auto* sequence = kxCast<kxTransformSequence1_5>(transform->_sequence))
                    span->add(sequence->_times);
        },
        &span);
    _animationStart = span.first <= span.last ? span.first : 0;
    _animationEnd = span.first <= span.last ? span.last : 0;
}

bool checkNoCycle(kxNode* root, std::string& fault)
{
    const kxNode* node = findCycle(root);
    if (node)
        fault = kxFormat("node \"%s\" lies below itself", node->getName().c_str());
    return node == nullptr;
}

bool kxSceneInfo::userCheckLoaded(std::string& fault) const
{
    return checkNoCycle(_sceneGraph, fault);
}

} // namespace Kel::Sg
