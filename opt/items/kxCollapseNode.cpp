#include "opt/items/kxCollapseNode.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemNames.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxModelViewMatrixBoneSelect.h"
#include "platform/sg/kxMorphInstance.h"
#include "platform/sg/kxMultiTextureShader.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxUserInfo.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace Kel::Opt
{

KX_IMPLEMENT(kxCollapseNode)
KX_IMPLEMENT(kxCollapseNodeForNode)
KX_IMPLEMENT(kxCollapseNodeForAttrSet)
KX_IMPLEMENT(kxCollapseNodeForGeometry)
KX_IMPLEMENT(kxCollapseNodeForGroup)
KX_IMPLEMENT(kxCollapseNodeForLightSet)
KX_IMPLEMENT(kxCollapseNodeForLightStateSet)
KX_IMPLEMENT(kxCollapseNodeForLod)
KX_IMPLEMENT(kxCollapseNodeForModelViewMatrixBoneSelect)
KX_IMPLEMENT(kxCollapseNodeForMorphInstance)
KX_IMPLEMENT(kxCollapseNodeForMultitextureShader)
KX_IMPLEMENT(kxCollapseNodeForTransform)
KX_IMPLEMENT(kxCollapseNodeForUserInfo)

const kxMetaEnum& kxMetaEnumOf(HIERARCHY_COLLAPSE)
{
    static const kxMetaEnum metaEnum("HIERARCHY_COLLAPSE", {{"NO_CHANGE", NO_CHANGE},
                                                            {"REPLACE_TREE", REPLACE_TREE},
                                                            {"COLLAPSE_TREE", COLLAPSE_TREE},
                                                            {"PRUNE_TREE", PRUNE_TREE}});
    return metaEnum;
}

namespace
{

/// What an attribute sets: attributes of one type and unit replace one another.
uint64_t settingOf(const kxAttr* attr)
{
    return uint64_t(attr->getMetaObject()->getIndex()) << 16 | attr->getUnit();
}

} // namespace

void kxCollapseNode::listFields(kxFields<kxCollapseNode>& fields)
{
    fields.add(&kxCollapseNode::_node, "_node", "the node in question")
        .setFlags(kxMetaField::PARAMETER | kxMetaField::REQUIRED);
    fields.add(&kxCollapseNode::_collapse, "_collapse", "what shall become of it");
    fields.add(&kxCollapseNode::_replaceNode, "_replaceNode", "the node that shall take its place");
}

kxMetaObject* kxCollapseNode::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

bool kxCollapseNode::getRecursiveInterface()
{
    return false;
}

kxStringRef kxCollapseNode::getInterfaceName()
{
    return kxItemNames::get().collapseNode;
}

kxSmartPointer<kxInterfaceDeclarationList> kxCollapseNode::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"collapse", &kxCollapseNode::collapse}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxCollapseNode::userSetupOutput(kxParameterSet* result)
{
    const kxItemNames& names = kxItemNames::get();
    result->setFieldValue(names.collapseField, static_cast<int32_t>(_collapse));
    result->setFieldValue(names.replaceNodeField, _replaceNode);
}

kxSmartPointer<kxParameterSet> kxCollapseNodeForNode::collapse(kxParameterSet*)
{
    kxParameterSetWrapper result;
    _replaceNode = nullptr;
    _collapse = _node && isFree(_node) ? decide() : NO_CHANGE;
    result.success();
    return result;
}

bool kxCollapseNodeForNode::isFree(kxNode* node) const
{
    // A track replaces the node's own matrix; without the node it, or whatever changes the node, has nothing to drive.
    if (node->isAnimated() || node->isDynamic())
        return false;
    // Extras and extensions say something about this node that no other node can say in its place.
    if (node->_userData && !node->_userData->isEmpty())
        return false;
    // Skins, data pumps and players hold on to locked nodes.
    if (_lockInterface && _lockInterface->isLocked(node))
        return false;
    // The root of another scene is that scene, also where it stands below this one.
    if (node->getParentCount() > 0 && _optInterface && _optInterface->getInfos())
        for (const kxInfo* info : *_optInterface->getInfos())
            if (const auto* scene = kxCast<kxSceneInfo>(info))
                if (scene->getSceneGraph() == node)
                    return false;
    return true;
}

bool kxCollapseNodeForNode::canSplice(const kxGroup* group)
{
    const uint32_t parentCount = group->getParentCount();
    if (parentCount == 0)
        return false;
    // An only child takes the place of the group. Several are added behind the others and the group goes: both shift
    // positions, which must not mean anything then.
    for (uint32_t i = 0; i < parentCount && group->getChildCount() != 1; ++i)
        if (group->getParent(i)->isChildOrderSignificant() != 0)
            return false;
    return group->getChildCount() == 0 || !group->getChildList()->contains(nullptr);
}

HIERARCHY_COLLAPSE kxCollapseNodeForNode::pruneEmpty(const kxGroup* group)
{
    return group->getChildCount() == 0 && canSplice(group) ? PRUNE_TREE : NO_CHANGE;
}

HIERARCHY_COLLAPSE kxCollapseNodeForNode::spliceOut(const kxGroup* group, uint64_t allowedLinks)
{
    if (!canSplice(group))
        return NO_CHANGE;
    // Where several parents share the group, each gets a link to every child. Nested instances would double at every
    // level.
    const uint64_t parentCount = group->getParentCount();
    const uint64_t childCount = group->getChildCount();
    if (parentCount * childCount > std::max(parentCount + childCount, allowedLinks))
        return NO_CHANGE;
    return childCount == 0 ? PRUNE_TREE : COLLAPSE_TREE;
}

void kxCollapseNodeForNode::takeOver(kxGroup* node, const kxGroup* outer, const kxGroup* inner)
{
    // One of the two names, so that names do not become less unique than they were.
    node->setName(outer->getName().isEmpty() ? inner->getName() : outer->getName());
    for (uint32_t i = 0, count = inner->getChildCount(); i < count; ++i)
        node->appendChild(inner->getChild(i));
}

// A bare node draws nothing and holds nothing: it is a place that somebody looks up by name.
HIERARCHY_COLLAPSE kxCollapseNodeForNode::decide()
{
    return NO_CHANGE;
}

/// The type that an item serves, and the decision about a node of exactly that type.
#define KX_DECISION(Class, Type)                                                                                       \
    kxMetaObject* Class::getInterfacedType()                                                                           \
    {                                                                                                                  \
        return Type::staticMetaObject();                                                                               \
    }                                                                                                                  \
    HIERARCHY_COLLAPSE Class::decide()

namespace
{

// True when the axes do not stand at right angles to each other any more.
bool isSheared(const kxMatrix44f& matrix)
{
    constexpr double kRightAngle = 1e-5; // cosine
    kxVec3d axes[3];
    for (int i = 0; i < 3; ++i)
        axes[i] = kxVec3d(double(matrix[i][0]), double(matrix[i][1]), double(matrix[i][2]));
    for (int i = 0; i < 3; ++i)
    {
        const kxVec3d &a = axes[i], &b = axes[(i + 1) % 3];
        if (std::abs(a.dot(b)) > kRightAngle * a.length() * b.length())
            return true;
    }
    return false;
}

} // namespace

// A plain group says nothing about what is below it.
KX_DECISION(kxCollapseNodeForGroup, kxGroup)
{
    return spliceOut(static_cast<kxGroup*>(_node.get()));
}

KX_DECISION(kxCollapseNodeForTransform, kxTransform)
{
    const auto* outer = static_cast<kxTransform*>(_node.get());
    // The matrix of the path does not change by the identity.
    if (outer->isIdentity())
        if (const HIERARCHY_COLLAPSE decision = spliceOut(outer); decision != NO_CHANGE)
            return decision;
    // Two in a row are their product, as nothing sees the matrix between them. Any other transform stays, also one
    // without children: it draws nothing, but is the only trace of a place that somebody looks up by name.
    const auto* inner = getOnlyFreeChild<kxTransform>(outer);
    if (!inner)
        return NO_CHANGE;
    const kxTransform* only = outer->isIdentity() ? inner : inner->isIdentity() ? outer : nullptr;
    const kxMatrix44f matrix = only ? only->getMatrix() : inner->getMatrix() * outer->getMatrix();
    // An uneven scale above a turn is a shear, which many readers of scenes cannot take in one transform.
    if (isSheared(matrix) && !isSheared(inner->getMatrix()) && !isSheared(outer->getMatrix()))
        return NO_CHANGE;
    const auto product = kxNew<kxTransform>();
    if (only && only->_hasParts)
        product->setParts(only->_translation, only->_rotation, only->_scale);
    else
        product->setMatrix(matrix);
    takeOver(product, outer, inner);
    _replaceNode = product;
    return REPLACE_TREE;
}

KX_DECISION(kxCollapseNodeForAttrSet, kxAttrSet)
{
    const auto* outer = static_cast<kxAttrSet*>(_node.get());
    // Nothing set, or nothing below that it is set for.
    if (outer->getAttrs()->isEmpty() || outer->getChildCount() == 0)
        return spliceOut(outer);
    // Nothing is drawn between the two sets, so both act as one. Of attributes of one type and unit the inner one
    // counts.
    const auto* inner = getOnlyFreeChild<kxAttrSet>(outer);
    if (!inner)
        return NO_CHANGE;
    std::vector<uint64_t> innerSettings;
    const auto merged = kxNew<kxAttrSet>();
    for (kxAttr* attr : *inner->getAttrs())
    {
        if (!attr)
            continue;
        innerSettings.push_back(settingOf(attr));
        merged->appendAttr(attr);
    }
    std::sort(innerSettings.begin(), innerSettings.end());
    for (kxAttr* attr : *outer->getAttrs())
        if (attr && !std::binary_search(innerSettings.begin(), innerSettings.end(), settingOf(attr)))
            merged->appendAttr(attr);
    merged->_boundingVolume = outer->_boundingVolume;
    takeOver(merged, outer, inner);
    _replaceNode = merged;
    return REPLACE_TREE;
}

// A geometry without attributes has nothing to draw.
KX_DECISION(kxCollapseNodeForGeometry, kxGeometry)
{
    const auto* geometry = static_cast<kxGeometry*>(_node.get());
    return geometry->getAttrs()->isEmpty() ? pruneEmpty(geometry) : NO_CHANGE;
}

// Without lights it places nothing.
KX_DECISION(kxCollapseNodeForLightSet, kxLightSet)
{
    const auto* lights = static_cast<kxLightSet*>(_node.get());
    return lights->getLightAttrs()->isEmpty() ? spliceOut(lights) : NO_CHANGE;
}

// Nothing switched, or nothing below that it is switched for.
KX_DECISION(kxCollapseNodeForLightStateSet, kxLightStateSet)
{
    const auto* states = static_cast<kxLightStateSet*>(_node.get());
    return states->getLightStateAttrs()->isEmpty() || states->getChildCount() == 0 ? spliceOut(states) : NO_CHANGE;
}

// Without children there is nothing to choose from; with one that is always chosen there is no choice.
KX_DECISION(kxCollapseNodeForLod, kxLod)
{
    const auto* lod = static_cast<kxLod*>(_node.get());
    return lod->getChildCount() == 0 || hasOneFullRange(lod) ? spliceOut(lod) : NO_CHANGE;
}

bool kxCollapseNodeForLod::hasOneFullRange(const kxLod* lod)
{
    const kxFloatList* ranges = lod->_ranges;
    const uint32_t rangeCount = ranges ? ranges->getCount() : 0;
    return lod->getChildCount() == 1 && (rangeCount < 1 || ranges->get(0) <= 0) &&
           (rangeCount < 2 || ranges->get(1) >= std::numeric_limits<float>::max());
}

// Which bone is chosen, or that none is, says in whose space is drawn; only with nothing to draw it says nothing.
KX_DECISION(kxCollapseNodeForModelViewMatrixBoneSelect, kxModelViewMatrixBoneSelect)
{
    return pruneEmpty(static_cast<kxGroup*>(_node.get()));
}

// Without weights the meshes below keep their own. Weights of zero are weights: they stay.
KX_DECISION(kxCollapseNodeForMorphInstance, kxMorphInstance)
{
    const auto* morph = static_cast<kxMorphInstance*>(_node.get());
    const bool hasWeights = morph->_weights && !morph->_weights->isEmpty();
    return !hasWeights || morph->getChildCount() == 0 ? spliceOut(morph) : NO_CHANGE;
}

// It draws in its own way even when it has no passes; only with nothing to draw it draws nothing.
KX_DECISION(kxCollapseNodeForMultitextureShader, kxMultiTextureShader)
{
    return pruneEmpty(static_cast<kxGroup*>(_node.get()));
}

// Information is what it is there for; without any it is a group. A derived type may carry some in fields of its own.
KX_DECISION(kxCollapseNodeForUserInfo, kxUserInfo)
{
    const auto* information = static_cast<kxUserInfo*>(_node.get());
    const bool isEmpty = information->_keys->isEmpty() && information->_values->isEmpty();
    const bool isPlain = information->isOfExactType(kxUserInfo::staticMetaObject());
    return isEmpty && isPlain ? spliceOut(information) : NO_CHANGE;
}
#undef KX_DECISION

bool kxCollapseNodeForUserInfo::getRecursiveInterface()
{
    return true;
}

} // namespace Kel::Opt
