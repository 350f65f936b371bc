#include "opt/scene/kxFileGraphs.h"

#include "platform/core/kxFieldTypes.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSkin.h"

namespace Kel::Opt
{

std::vector<kxNode*> getGraphRoots(const kxInfo* info)
{
    std::vector<kxNode*> roots;
    const auto add = [&roots](kxObject* object)
    {
        if (auto* node = kxCast<kxNode>(object))
            roots.push_back(node);
    };
    if (const auto* scene = kxCast<kxSceneInfo>(info))
    {
        add(scene->getSceneGraph());
        return roots;
    }
    if (const auto* database = kxCast<kxAnimationDatabase>(info))
    {
        for (const kxSkin* skin : *database->getSkinList())
            if (skin)
                add(skin->getSkinnedGraph());
        return roots;
    }
    for (const kxMetaField* field : info ? info->getMetaObject()->getFields() : std::span<kxMetaField* const>())
    {
        if (field->getKind() != kxFieldKind::OBJECT || field->hasFlag(kxMetaField::LINK_BACK) || field->isAppended())
            continue;
        kxObject* value = static_cast<const kxObjectField*>(field)->getObject(field->getAddress(info));
        add(value);
        if (const auto* list = kxCast<kxNodeList>(value))
            for (kxNode* node : *list)
                add(node);
    }
    return roots;
}

kxFileGraphs::kxFileGraphs(const kxInfoList* infos)
{
    for (uint32_t i = 0; infos && i < infos->getCount(); ++i)
        for (kxNode* root : getGraphRoots(infos->get(i)))
            forEachNodeOnce(
                root, [](kxNode* node, void* nodes) { (*static_cast<kxTSerialMap<bool>*>(nodes))[node] = true; },
                &m_nodes);
}

bool kxFileGraphs::holdParentsOf(const kxNode* node) const
{
    for (uint32_t i = 0; i < node->getParentCount(); ++i)
        if (const kxNode* parent = node->getParent(i); parent && !m_nodes.get(parent))
            return false;
    return true;
}

} // namespace Kel::Opt
