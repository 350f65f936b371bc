// Promotion, bottom up. The walk keeps its own stack, so that deep graphs cost no program stack; nodes with several
// parents that wait for the next one lie in a map by identity while it runs, and in the three lists between graphs.
#include "opt/scene/kxPromoteAttrs.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/scene/kxFileGraphs.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxBlendMatrixSelect.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxShader.h"

#include <algorithm>
#include <deque>

namespace Kel::Opt
{

KX_IMPLEMENT(kxPromoteAttrs)

const kxMetaEnum& kxMetaEnumOf(ATTRIBUTE_IN_LIST)
{
    static const kxMetaEnum names("ATTRIBUTE_IN_LIST", {{"NO_ATTRIBUTE", NO_ATTRIBUTE},
                                                        {"ATTRIBUTE_REDEFINED", ATTRIBUTE_REDEFINED},
                                                        {"ATTRIBUTE_DEFINED", ATTRIBUTE_DEFINED},
                                                        {"ATTRIBUTE_CONFLICT", ATTRIBUTE_CONFLICT}});
    return names;
}

const kxMetaEnum& kxMetaEnumOf(ATTRIBUTE_SHARING_TYPE)
{
    static const kxMetaEnum names("ATTRIBUTE_SHARING_TYPE", {{"NO_SHARING", NO_SHARING},
                                                             {"STRONG_SHARING", STRONG_SHARING},
                                                             {"WEAK_SHARING", WEAK_SHARING},
                                                             {"CONFLICT_SHARING", CONFLICT_SHARING}});
    return names;
}

/// A node with several parents of which some are still to be met.
struct kxPromoteAttrs::Instance
{
    kxSmartPointer<kxNode> node;
    kxSmartPointer<kxAttr> attr;
    int32_t parentsToMeet;
};

/// A group whose children are being promoted.
struct kxPromoteAttrs::Frame
{
    struct Class // children that contribute alike attributes
    {
        kxSmartPointer<kxAttr> attr; // null: those that contribute none
        std::vector<uint32_t> children;
    };

    Frame(kxGroup* node, kxAttrComparison& comparison) : group(node), index(comparison) {}

    kxSmartPointer<kxGroup> group;
    kxSmartPointer<kxAttr> effective;
    uint32_t nextChild = 0;
    std::vector<Class> classes;
    kxAttrIndex index;                  // of the classes with an attribute
    std::vector<uint32_t> classNumbers; // by number in the index
    int noAttrClass = -1;

    void contribute(kxAttr* attr, uint32_t child)
    {
        int number = noAttrClass;
        if (attr)
        {
            const uint32_t found = index.findOrAppend(attr);
            number = found < classNumbers.size() ? static_cast<int>(classNumbers[found]) : -1;
        }
        if (number < 0)
        {
            number = static_cast<int>(classes.size());
            classes.push_back({attr, {}});
            if (attr)
                classNumbers.push_back(static_cast<uint32_t>(number));
            else
                noAttrClass = number;
        }
        classes[static_cast<size_t>(number)].children.push_back(child);
    }
};

namespace
{

bool isInstanced(const kxNode* node)
{
    return node->getParentCount() >= 2;
}

} // namespace

void kxPromoteAttrs::listFields(kxFields<kxPromoteAttrs>& fields)
{
    fields.add(&kxPromoteAttrs::_attributeType, "_attributeType", "type to promote; derived types are left alone");
    fields.add(&kxPromoteAttrs::_newAttrSetName, "_newAttrSetName", "name of the attribute sets that are made");
    fields.add(&kxPromoteAttrs::_instantiatedNodes, "_instantiatedNodes",
               "nodes with several parents of which some are still to be met, sorted by identity");
    fields.add(&kxPromoteAttrs::_instantiatedNodeAttrs, "_instantiatedNodeAttrs",
               "for each of these nodes the attribute that it contributes");
    fields.add(&kxPromoteAttrs::_instantiatedNodeCounts, "_instantiatedNodeCounts",
               "for each of these nodes the number of parents still to be met");
}

kxPromoteAttrs::kxPromoteAttrs() = default;
kxPromoteAttrs::~kxPromoteAttrs() = default;

bool kxPromoteAttrs::configure(int)
{
    return _attributeType && isShareableAttrType(_attributeType);
}

bool kxPromoteAttrs::applyToInfos()
{
    return kxOptBase::applyToInfos() || (hasGraphs() && areParentsInFile());
}

// Skins rarely have graphs of their own, and are done without; scenes always have one.
bool kxPromoteAttrs::hasGraphs() const
{
    if (!_attributeType)
        return false;
    for (kxInfo* info : *_optInterface->getInfos())
        if (const auto* scene = kxCast<kxSceneInfo>(info);
            scene && !scene->getSceneGraph() && !_optInterface->infoIsDisabled(info))
            return false;
    return true;
}

// Nodes with parents in graphs that are not promoted, such as nodes outside of the scenes, keep their attributes; that is as it
// should be.
bool kxPromoteAttrs::areParentsInFile() const
{
    if (_instantiatedNodes->isEmpty())
        return true;
    const kxFileGraphs graphs(_optInterface ? _optInterface->getInfos() : nullptr);
    for (const kxNode* node : *_instantiatedNodes)
        if (node && !graphs.holdParentsOf(node))
            return false;
    return true;
}

bool kxPromoteAttrs::apply(kxSmartPointer<kxNode>& root)
{
    if (!root || !_attributeType)
        return false;
    if (const kxSmartPointer<kxAttr> attr = promoteAttributes(root, nullptr))
    {
        if (auto* set = kxCast<kxAttrSet>(root))
            appendUniqueAttribute(set, attr);
        else
        {
            const kxSmartPointer<kxAttrSet> above = newAttrSet(attr);
            above->appendChild(root);
            root = above.get();
        }
    }
    const uint32_t nodeCount = _instantiatedNodes->getCount();
    if (nodeCount == 0)
        return true;
    printf("kxPromoteAttrs: The graph optimized has %d node%s instanced with parents outside of the graph. Some "
           "attributes "
           "may not have been set or removed.\n",
           static_cast<int>(nodeCount), nodeCount >= 2 ? "s" : "");
    return false;
}

/// One walk, with the instanced nodes that it has open.
class kxPromoteAttrs::Walk
{
public:
    explicit Walk(kxPromoteAttrs& owner) : m_owner(owner), m_comparison(owner)
    {
        m_owner.m_comparison = &m_comparison;
        for (uint32_t i = 0; i < owner._instantiatedNodes->getCount(); ++i)
            open(owner._instantiatedNodes->get(i), owner._instantiatedNodeAttrs->get(i),
                 owner._instantiatedNodeCounts->get(i));
    }

    ~Walk()
    {
        storeLists();
        m_owner.m_comparison = nullptr;
    }

    kxSmartPointer<kxAttr> run(kxNode* root, kxAttr* inherited)
    {
        kxSmartPointer<kxAttr> result;
        auto* group = kxCast<kxGroup>(root);
        if (!group)
            return result;
        push(group, inherited);
        while (!m_stack.empty())
        {
            Frame& frame = m_stack.back();
            if (frame.nextChild < frame.group->getChildCount())
            {
                enterChild(frame, frame.nextChild++);
                continue;
            }
            result = finish(frame);
            const kxSmartPointer<kxGroup> done = frame.group;
            m_stack.pop_back();
            if (!m_stack.empty())
                contribute(m_stack.back(), result, done);
        }
        return result;
    }

private:
    void push(kxGroup* group, kxAttr* inherited)
    {
        Frame& frame = m_stack.emplace_back(group, m_comparison);
        kxSmartPointer<kxAttr> own;
        switch (m_owner.getAttribute(group, own))
        {
        case NO_SHARING: frame.effective = inherited; break;
        case STRONG_SHARING: frame.effective = own; break;
        case WEAK_SHARING:
            // What inherits nothing is not defined by a shader that leaves passes out.
            frame.effective = inherited ? own.get() : nullptr;
            break;
        case CONFLICT_SHARING: break;
        }
    }

    void enterChild(Frame& frame, uint32_t index)
    {
        kxNode* child = frame.group->getChild(index);
        if (!child)
        {
            frame.contribute(nullptr, index);
            return;
        }
        if (isInstanced(child))
        {
            if (m_numbers.get(child))
            {
                frame.contribute(meetAgain(child), index);
                return;
            }
            open(child, nullptr, static_cast<int32_t>(child->getParentCount()) - 1);
        }
        if (auto* group = kxCast<kxGroup>(child))
            push(group, nullptr); // the children inherit nothing: what is above is set behind them
        else
            contribute(frame, nullptr, child);
    }

    // The result of the child that was entered last.
    void contribute(Frame& frame, kxAttr* attr, const kxNode* child)
    {
        if (const uint32_t number = m_numbers.get(child))
            m_instances[number - 1].attr = attr;
        frame.contribute(attr, frame.nextChild - 1);
    }

    void open(kxNode* node, kxAttr* attr, int32_t parentsToMeet)
    {
        m_instances.push_back({node, attr, parentsToMeet});
        m_numbers[node] = static_cast<uint32_t>(m_instances.size());
    }

    kxSmartPointer<kxAttr> meetAgain(kxNode* node)
    {
        Instance& instance = m_instances[m_numbers.get(node) - 1];
        const kxSmartPointer<kxAttr> attr = instance.attr;
        if (--instance.parentsToMeet == 0)
        {
            m_owner.removeAttribute(node, attr);
            m_numbers[node] = 0;
            instance.node = nullptr;
        }
        return attr;
    }

    void storeLists()
    {
        std::erase_if(m_instances, [](const Instance& instance) { return !instance.node; });
        std::sort(m_instances.begin(), m_instances.end(),
                  [](const Instance& a, const Instance& b) { return a.node->getSerial() < b.node->getSerial(); });
        m_owner._instantiatedNodes->clear();
        m_owner._instantiatedNodeAttrs->clear();
        m_owner._instantiatedNodeCounts->clear();
        for (const Instance& instance : m_instances)
        {
            m_owner._instantiatedNodes->append(instance.node);
            m_owner._instantiatedNodeAttrs->append(instance.attr);
            m_owner._instantiatedNodeCounts->append(instance.parentsToMeet);
        }
    }

    kxSmartPointer<kxAttr> finish(Frame& frame)
    {
        kxGroup* group = frame.group;
        if (frame.classes.size() > 1)
            m_owner.setAbove(group, frame);
        else if (frame.classes.size() == 1 && frame.classes[0].attr)
        {
            kxAttr* attr = frame.classes[0].attr;
            if (!m_owner.isAttrAlike(attr, frame.effective))
            {
                m_owner.removeAttribute(group, frame.effective);
                frame.effective = attr;
            }
            for (const uint32_t index : frame.classes[0].children)
                if (kxNode* child = group->getChild(index); !isInstanced(child))
                    m_owner.removeAttribute(child, attr);
        }
        // Children that contribute nothing inherit what is in effect here.
        return frame.effective;
    }

    kxPromoteAttrs& m_owner;
    kxAttrComparison m_comparison;
    std::deque<Frame> m_stack; // frames stay in place when others come
    std::vector<Instance> m_instances;
    kxTSerialMap<uint32_t> m_numbers; // of open instances in `m_instances`, from 1
};

kxSmartPointer<kxAttr> kxPromoteAttrs::promoteAttributes(kxNode* node, kxAttr* inherited)
{
    return Walk(*this).run(node, inherited);
}

// The children contribute several attributes: each is set above its children, unless the group sets it.
void kxPromoteAttrs::setAbove(kxGroup* group, Frame& frame)
{
    const bool ordered = group->isChildOrderSignificant() != 0;
    std::vector<bool> moved(group->getChildCount(), false);
    std::vector<kxSmartPointer<kxAttrSet>> newSets;
    for (const Frame::Class& alike : frame.classes)
    {
        if (!alike.attr)
            continue;
        kxNode* first = group->getChild(alike.children[0]);
        if (isAttrAlike(alike.attr, frame.effective))
        {
            for (const uint32_t index : alike.children)
                if (kxNode* child = group->getChild(index); !isInstanced(child))
                    removeAttribute(child, alike.attr);
            continue;
        }
        if (alike.children.size() == 1 && !isInstanced(first) && first->isOfType(kxAttrSet::staticMetaObject()))
        {
            appendUniqueAttribute(static_cast<kxAttrSet*>(first), alike.attr);
            continue;
        }
        if (!ordered)
            newSets.push_back(newAttrSet(alike.attr));
        for (const uint32_t index : alike.children)
        {
            const kxSmartPointer<kxNode> child = group->getChild(index);
            const bool instanced = isInstanced(child);
            if (ordered)
            {
                const kxSmartPointer<kxAttrSet> set = newAttrSet(alike.attr);
                group->setChild(index, set);
                set->appendChild(child);
            }
            else
            {
                newSets.back()->appendChild(child);
                moved[index] = true;
            }
            if (!instanced)
                removeAttribute(child, alike.attr);
        }
    }
    // In one go, from the end, so that the cost does not depend on how many are moved.
    for (size_t i = moved.size(); i-- > 0;)
        if (moved[i])
            group->removeChild(static_cast<uint32_t>(i));
    for (const auto& set : newSets)
        group->appendChild(set);
}

ATTRIBUTE_IN_LIST kxPromoteAttrs::getAttributeFromList(const kxAttrList* list, kxSmartPointer<kxAttr>& inOut)
{
    ATTRIBUTE_IN_LIST result = NO_ATTRIBUTE;
    for (kxAttr* attr : *list)
    {
        if (!attr || !attr->isOfExactType(_attributeType))
            continue;
        if (!inOut)
        {
            inOut = attr;
            result = ATTRIBUTE_DEFINED;
        }
        else if (attr == inOut.get())
            result = ATTRIBUTE_REDEFINED;
        else if (attr->getUnit() == inOut->getUnit())
        {
            if (!isAttrAlike(attr, inOut))
            {
                inOut = nullptr;
                return ATTRIBUTE_CONFLICT;
            }
            result = ATTRIBUTE_REDEFINED;
        }
    }
    return result;
}

ATTRIBUTE_SHARING_TYPE kxPromoteAttrs::getAttribute(const kxNode* node, kxSmartPointer<kxAttr>& out)
{
    static bool conflictsIgnored = false; // the user's answer holds for the rest of the process
    out = nullptr;
    if (node->isOfExactType(kxAttrSet::staticMetaObject()) ||
        node->isOfExactType(kxBlendMatrixSelect::staticMetaObject()))
    {
        switch (getAttributeFromList(static_cast<const kxAttrSet*>(node)->getAttrs(), out))
        {
        case NO_ATTRIBUTE: return NO_SHARING;
        case ATTRIBUTE_CONFLICT:
            if (!conflictsIgnored)
                conflictsIgnored = kxReport::error("Attribute set %s contains conflicting attributes",
                                                   node->getName().c_str()) == kxReport::IGNORE_FROM_NOW_ON;
            return CONFLICT_SHARING;
        default: return STRONG_SHARING;
        }
    }
    if (!node->isOfExactType(kxShader::staticMetaObject()))
        return NO_SHARING;
    bool everyPass = true;
    for (const kxShaderPass* pass : *static_cast<const kxShader*>(node)->_passes)
        switch (pass ? getAttributeFromList(pass->getAttrs(), out) : NO_ATTRIBUTE)
        {
        case NO_ATTRIBUTE: everyPass = false; break;
        case ATTRIBUTE_CONFLICT: return CONFLICT_SHARING;
        default: break;
        }
    if (!out)
        return NO_SHARING;
    return everyPass ? STRONG_SHARING : WEAK_SHARING;
}

void kxPromoteAttrs::removeAttribute(kxNode* node, kxAttr* attr)
{
    if (!attr || node->isOfType(kxSegment::staticMetaObject()))
        return;
    bool removed = false;
    if (auto* set = kxCast<kxAttrSet>(node))
        removed = removeAttributeFromList(set->getAttrs(), attr);
    else if (node->isOfExactType(kxShader::staticMetaObject()))
    {
        for (kxShaderPass* pass : *static_cast<kxShader*>(node)->_passes)
            if (pass && removeAttributeFromList(pass->getAttrs(), attr))
                removed = true;
    }
    if (removed)
        count("nodes relieved of the attribute");
}

bool kxPromoteAttrs::removeAttributeFromList(kxAttrList* list, kxAttr* attr)
{
    const kxSmartPointer<kxAttr> wanted = attr; // the list may hold the last reference
    bool removed = false;
    for (uint32_t i = list->getCount(); i-- > 0;)
        if (isAttrAlike(list->get(i), attr))
        {
            list->removeAt(i);
            removed = true;
        }
    return removed;
}

void kxPromoteAttrs::appendUniqueAttribute(kxAttrSet* set, kxAttr* attr)
{
    for (kxAttr* present : *set->getAttrs())
        if (isAttrAlike(present, attr))
            return;
    set->appendAttr(attr);
    count("sets given the attribute");
}

kxSmartPointer<kxAttrSet> kxPromoteAttrs::newAttrSet(kxAttr* attr)
{
    const kxSmartPointer<kxAttrSet> set(new (getCreationMemoryPool()) kxAttrSet);
    set->setName(_newAttrSetName);
    set->appendAttr(attr);
    count("sets made");
    return set;
}

bool kxPromoteAttrs::isAttrAlike(kxAttr* a, kxAttr* b)
{
    return m_comparison ? m_comparison->isAlike(a, b) : kxAttrComparison::isAlikeByItem(*this, a, b);
}

} // namespace Kel::Opt
