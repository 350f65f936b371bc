#include "tests/support/kxRandomScene.h"

#include "platform/attrs/kxLightStateAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTextWords.h"
#include "platform/sg/kxTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <vector>

namespace Kel::Test
{

namespace
{

class Maker
{
public:
    Maker(uint32_t seed, const RandomSceneOptions& options) : m_random(seed), m_options(options)
    {
        for (kxMetaObject* type : kxNode::staticMetaObject()->getDerived())
            if (!type->isAbstract() && (options.segments || !type->isDerivedFrom(kxSegment::staticMetaObject())))
                m_nodeTypes.push_back(type);
        for (kxMetaObject* type : kxAttr::staticMetaObject()->getDerived())
            if (!type->isAbstract() && !type->isDerivedFrom(kxGeometryAttr::staticMetaObject()))
                m_attrTypes.push_back(type);
    }

    TestScene make()
    {
        m_nodes.push_back(kxNew<kxGroup>());
        const uint32_t count = 1 + m_random.below(static_cast<uint32_t>(m_options.maxNodes));
        for (uint32_t i = 0; i < count; ++i)
            addNode();
        linkMore();
        TestScene scene(m_nodes[0]);
        if (m_options.locks)
            for (uint32_t i = m_random.below(3); i > 0; --i)
                lock(scene, anyObject());
        // A skin does not hold its bones; as after loading a file, locks keep them where they are.
        for (const kxSmartPointer<kxNode>& node : m_nodes)
            if (m_joints.contains(node))
                lock(scene, node);
        return scene;
    }

private:
    template <class T>
    const T& anyOf(const std::vector<T>& values)
    {
        return values[m_random.below(static_cast<uint32_t>(values.size()))];
    }

    const kxMetaObject* plainNodeType()
    {
        // Groups, transforms and what is drawn make up most of every scene.
        switch (m_random.below(12))
        {
        case 0:
        case 1: return kxGroup::staticMetaObject();
        case 2:
        case 3:
        case 4: return kxTransform::staticMetaObject();
        case 5:
        case 6: return kxAttrSet::staticMetaObject();
        case 7: return kxLod::staticMetaObject();
        case 8: return kxSwitch::staticMetaObject();
        default: return kxGeometry::staticMetaObject();
        }
    }

    void addNode()
    {
        const bool isPlain = !m_options.allNodeTypes || !m_random.oneIn(3);
        const kxMetaObject* type = isPlain ? plainNodeType() : anyOf(m_nodeTypes);
        kxSmartPointer<kxNode> node = type->createInstanceRef<kxNode>();
        setFields(node);
        // A later node is never above an earlier one, so that links cannot make a cycle.
        kxGroup* parent = nullptr;
        while (!parent)
            parent = kxCast<kxGroup>(anyOf(m_nodes));
        parent->appendChild(node);
        m_nodes.push_back(node);
        if (m_random.oneIn(10))
            parent->insertChild(m_random.below(parent->getChildCount() + 1), nullptr);
    }

    void linkMore()
    {
        const auto count = static_cast<uint32_t>(m_nodes.size());
        for (uint32_t i = 0; i < count / 6; ++i)
        {
            const uint32_t upper = m_random.below(count);
            const uint32_t lower = m_random.below(count);
            kxGroup* parent = kxCast<kxGroup>(m_nodes[std::min(upper, lower)]);
            if (parent && upper != lower)
                parent->insertChild(m_random.below(parent->getChildCount() + 1), m_nodes[std::max(upper, lower)]);
        }
    }

    kxMatrix44f matrix()
    {
        kxMatrix44f matrix;
        if (!m_options.exactMatrices && m_random.oneIn(2))
        {
            for (int row = 0; row < 4; ++row)
                for (int column = 0; column < 3; ++column)
                    matrix[row][column] += static_cast<float>(m_random.below(1000)) / 1000;
            return matrix;
        }
        if (m_random.oneIn(3)) // a quarter turn
        {
            const int axis = static_cast<int>(m_random.below(3));
            matrix[(axis + 1) % 3][(axis + 1) % 3] = matrix[(axis + 2) % 3][(axis + 2) % 3] = 0;
            matrix[(axis + 1) % 3][(axis + 2) % 3] = 1;
            matrix[(axis + 2) % 3][(axis + 1) % 3] = -1;
        }
        if (m_random.oneIn(3))
        {
            const float scale[] = {-1, 2, 0.5f};
            matrix = kxMatrix44f().setScale(scale[m_random.below(3)]) * matrix;
        }
        if (m_random.oneIn(6)) // a mirror
            matrix = kxMatrix44f().setScale(kxVec3f(1, -1, 1)) * matrix;
        if (!m_random.oneIn(3))
            for (int i = 0; i < 3; ++i)
                matrix[3][i] = static_cast<float>(m_random.below(5)) - 2;
        return matrix;
    }

    void setTransform(kxTransform* transform)
    {
        if (m_random.oneIn(5))
            return;
        if (m_random.oneIn(3))
            transform->setParts(kxVec3f(static_cast<float>(m_random.below(3)), 0, 1), kxQuatf(1, 0, 0, 0),
                                kxVec3f(1, m_random.oneIn(3) ? -1.0f : 1.0f, 1));
        else
            transform->setMatrix(matrix());
    }

    // Sets what any object has by its fields, then what makes sense of the class.
    void setFields(kxObject* object)
    {
        for (const kxMetaField* field : object->getMetaObject()->getFields())
            if (!field->isAppended() && !field->hasFlag(kxMetaField::LINK_BACK) &&
                field->getOwner() != kxTransform::staticMetaObject() && m_random.oneIn(4))
                setField(object, *field);
        if (auto* node = kxCast<kxNode>(object))
        {
            static const char* names[] = {"a", "b", "c \"d\"", ""};
            node->_name = m_random.oneIn(3) ? kxStringRef(names[m_random.below(4)]) : kxStringRef();
            node->_flags = m_random.oneIn(12) ? kxNode::IS_ANIMATED : 0;
            if (m_options.segments && m_random.oneIn(12))
                node->_flags |= kxNode::IS_DYNAMIC;
        }
        if (auto* transform = kxCast<kxTransform>(object))
            setTransform(transform);
        if (auto* lod = kxCast<kxLod>(object))
        {
            lod->_ranges->clear();
            for (uint32_t i = m_random.below(4); i > 0; --i)
                lod->_ranges->append(static_cast<float>(10 * lod->_ranges->getCount()));
        }
        if (auto* set = kxCast<kxAttrSet>(object))
            for (uint32_t i = m_random.below(3); i > 0; --i)
                set->appendAttr(anyAttr());
        if (auto* geometry = kxCast<kxGeometry>(object))
            if (!m_random.oneIn(8))
                geometry->appendAttr(anyData());
        if (auto* lights = kxCast<kxLightSet>(object))
            lights->appendLightAttr(anyLight());
        if (auto* states = kxCast<kxLightStateSet>(object))
            states->appendLightStateAttr(made<kxLightStateAttr>());
        if (auto* state = kxCast<kxLightStateAttr>(object))
            state->_light = m_random.oneIn(2) ? anyLight() : nullptr;
        if (auto* bind = kxCast<kxTextureBindAttr>(object))
            setBind(bind);
        if (auto* actor = kxCast<kxActor>(object))
            setSkin(actor);
    }

    void setField(kxObject* object, const kxMetaField& field)
    {
        void* value = field.getAddress(object);
        const float number = static_cast<float>(m_random.below(4)) / 2;
        switch (field.getKind())
        {
        case kxFieldKind::BOOL: *static_cast<bool*>(value) = m_random.oneIn(2); break;
        case kxFieldKind::INT: *static_cast<int32_t*>(value) = static_cast<int32_t>(m_random.below(4)) - 1; break;
        case kxFieldKind::UNSIGNED: *static_cast<uint32_t*>(value) = m_random.below(4); break;
        case kxFieldKind::LONG: *static_cast<int64_t*>(value) = m_random.below(4); break;
        case kxFieldKind::FLOAT: *static_cast<float*>(value) = number; break;
        case kxFieldKind::STRING: *static_cast<kxStringRef*>(value) = m_random.oneIn(2) ? "x" : "y\n\"z\""; break;
        case kxFieldKind::ENUM: *static_cast<int32_t*>(value) = anyOf(field.getMetaEnum()->getValues()).value; break;
        case kxFieldKind::VEC2F: *static_cast<kxVec2f*>(value) = kxVec2f(number, 1); break;
        case kxFieldKind::VEC3F: *static_cast<kxVec3f*>(value) = kxVec3f(number, 0, 1); break;
        case kxFieldKind::VEC4F: *static_cast<kxVec4f*>(value) = kxVec4f(1, number, 0, 1); break;
        case kxFieldKind::OBJECT:
            setList(kxCast<kxListBase>(static_cast<const kxObjectField&>(field).getObject(value)));
            break;
        default: break;
        }
    }

    // Lists of values get a few; objects are set by class.
    void setList(kxListBase* list)
    {
        if (!list || kxCast<kxObjectList>(list))
            return;
        alignas(16) unsigned char value[sizeof(kxMatrix44f)];
        const kxMetaField& element = *list->getElementField();
        for (uint32_t i = m_random.below(3); i > 0; --i)
        {
            element.constructValue(value);
            if (element.getKind() == kxFieldKind::STRING)
                *reinterpret_cast<kxStringRef*>(value) = "s";
            list->appendElement(value);
            element.destroyValue(value);
        }
    }

    template <class T>
    kxSmartPointer<T> made()
    {
        auto object = kxNew<T>();
        setFields(object);
        return object;
    }

    // One that is there already, or a new one.
    template <class T>
    kxSmartPointer<T> anyShared(std::vector<kxSmartPointer<T>>& pool)
    {
        if (pool.empty() || m_random.oneIn(3))
            pool.push_back(made<T>());
        return anyOf(pool);
    }
    kxSmartPointer<kxLightAttr> anyLight() { return anyShared(m_lights); }

    kxSmartPointer<kxAttr> anyAttr()
    {
        if (!m_attrs.empty() && m_random.oneIn(3))
            return anyOf(m_attrs);
        const kxMetaObject* type = kxMaterialAttr::staticMetaObject();
        if (m_random.oneIn(3))
            type = kxTextureBindAttr::staticMetaObject();
        if (m_options.allAttrTypes && m_random.oneIn(3))
            type = anyOf(m_attrTypes);
        kxSmartPointer<kxAttr> attr = type->createInstanceRef<kxAttr>();
        if (!m_random.oneIn(3)) // many are equal
            setFields(attr);
        m_attrs.push_back(attr);
        return attr;
    }

    kxSmartPointer<kxGeometryAttr> anyData()
    {
        static const char* words[] = {"tri", "quad", "cube", "points", "lines", "strip", "skinned", "morphed"};
        if (m_data.empty() || m_random.oneIn(2))
            m_data.push_back(makeTextGeometry(words[m_random.below(8)]));
        return anyOf(m_data);
    }

    void setBind(kxTextureBindAttr* bind)
    {
        bind->_slot = m_random.oneIn(3) ? kxStringRef("normalTexture") : kxStringRef();
        bind->userLoaded(); // finds the unit of the slot
        if (m_random.oneIn(4))
            return;
        if (m_images.empty() || m_random.oneIn(3))
        {
            m_images.push_back(kxNew<kxImage>());
            m_images.back()->_uri = kxFormat("%u.png", m_random.below(4));
        }
        kxSmartPointer<kxTextureAttr> texture = anyShared(m_textures);
        if (texture->_imageList->isEmpty())
            texture->_imageList->append(anyOf(m_images));
        bind->setTexture(texture);
    }

    void setSkin(kxActor* actor)
    {
        if (m_skins.empty() || m_random.oneIn(2))
        {
            m_skins.push_back(kxNew<kxSkin>());
            for (const kxSmartPointer<kxNode>& node : m_nodes)
                if (kxCast<kxJoint>(node))
                {
                    m_skins.back()->_joints->append(node);
                    m_joints.insert(node);
                }
        }
        actor->_skin = anyOf(m_skins);
    }

    kxObject* anyObject()
    {
        if (!m_attrs.empty() && m_random.oneIn(3))
            return anyOf(m_attrs);
        return anyOf(m_nodes);
    }

    static void lock(const TestScene& scene, kxObject* object)
    {
        auto pump = kxNew<kxDataPump>();
        pump->_destObj = object;
        scene.dataPumps->getList()->append(pump);
    }

    TestRandom m_random;
    const RandomSceneOptions& m_options;
    std::vector<const kxMetaObject*> m_nodeTypes;
    std::vector<const kxMetaObject*> m_attrTypes;
    std::vector<kxSmartPointer<kxNode>> m_nodes;
    std::vector<kxSmartPointer<kxAttr>> m_attrs;
    std::vector<kxSmartPointer<kxGeometryAttr>> m_data;
    std::vector<kxSmartPointer<kxLightAttr>> m_lights;
    std::vector<kxSmartPointer<kxTextureAttr>> m_textures;
    std::vector<kxSmartPointer<kxImage>> m_images;
    std::vector<kxSmartPointer<kxSkin>> m_skins;
    std::set<const kxNode*> m_joints;
};

// --- shrinking ---

using Edit = std::function<void()>;

// Every way to make a scene smaller by one step, the big ones first. The edits may be tried on this scene only.
struct Edits
{
    explicit Edits(TestScene& scene) : m_scene(scene)
    {
        forEachNodeOnce(
            scene.root(), [](kxNode* node, void* edits) { static_cast<Edits*>(edits)->m_nodes.push_back(node); }, this);
        for (const kxSmartPointer<kxNode>& node : m_nodes)
            addStructure(node);
        for (uint32_t i = 0; i < scene.dataPumps->getList()->getCount(); ++i)
            edits.push_back([=, this] { m_scene.dataPumps->getList()->removeAt(i); });
        for (const kxSmartPointer<kxNode>& node : m_nodes)
            addFields(node);
    }

    std::vector<Edit> edits;

private:
    void addStructure(kxNode* node)
    {
        auto* group = kxCast<kxGroup>(node);
        if (node == m_scene.root())
        {
            for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
                if (kxNode* child = group->getChild(i))
                    edits.push_back([=, this] { m_scene.info->setSceneGraph(child); });
        }
        else
        {
            edits.push_back([=] { replace(node, nullptr); });
            if (group)
                edits.push_back([=] { replace(node, group); });
        }
        for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
            edits.push_back([=] { group->removeChild(i); });
        if (auto* set = kxCast<kxAttrSet>(node))
            for (uint32_t i = 0; i < set->getAttrs()->getCount(); ++i)
            {
                edits.push_back([=] { set->getAttrs()->removeAt(i); });
                if (kxAttr* attr = set->getAttrs()->get(i))
                    addFields(attr);
            }
    }

    // Takes a node out of all its parents; the children of `childrenOf` take its place.
    static void replace(kxNode* node, kxGroup* childrenOf)
    {
        while (node->getParentCount() > 0)
        {
            kxGroup* parent = node->getParent(0);
            const auto index = static_cast<uint32_t>(parent->getChild(node));
            parent->removeChild(index);
            for (uint32_t i = childrenOf ? childrenOf->getChildCount() : 0; i-- > 0;)
                parent->insertChild(index, childrenOf->getChild(i));
        }
    }

    void addFields(kxObject* object)
    {
        static const kxStringRef kept[] = {"_childList", "_attrs"};
        for (const kxMetaField* field : object->getMetaObject()->getFields())
            if (!field->isAppended() && !field->hasFlag(kxMetaField::LINK_BACK) && field->getName() != kept[0] &&
                field->getName() != kept[1])
                edits.push_back(
                    [=]
                    {
                        const kxSmartPointer<kxObject> fresh = object->getMetaObject()->createInstance();
                        field->copyValue(field->getAddress(object), field->getAddress(fresh.get()));
                    });
    }

    TestScene& m_scene;
    std::vector<kxSmartPointer<kxNode>> m_nodes; // held: a skin's list may name a node that an edit takes away
};

bool tryParse(const std::string& text, TestScene& scene)
{
    kxSmartPointer<kxNode> root;
    std::string fault;
    if (!kxTextScene::parse(text, root, scene.dataPumps, fault))
        return false;
    scene.info->setSceneGraph(root);
    return true;
}

// The text after one edit; empty when there is no such edit.
std::string edited(const std::string& text, size_t edit)
{
    TestScene scene;
    if (!tryParse(text, scene))
        return {};
    const Edits edits(scene);
    if (edit >= edits.edits.size())
        return {};
    const kxSmartPointer<kxNode> root = scene.root();
    edits.edits[edit]();
    return printScene(scene);
}

} // namespace

TestScene makeRandomScene(uint32_t seed, const RandomSceneOptions& options)
{
    return Maker(seed, options).make();
}

std::string shrinkScene(std::string text, const std::function<bool(const std::string& text)>& fails)
{
    bool hasShrunk = true;
    while (hasShrunk)
    {
        hasShrunk = false;
        for (size_t edit = 0;;)
        {
            const std::string smaller = edited(text, edit);
            if (smaller.empty())
                break;
            if (smaller.size() < text.size() && fails(smaller))
            {
                text = smaller; // the same number is now another edit
                hasShrunk = true;
            }
            else
                ++edit;
        }
    }
    return text;
}

void forRandomScenes(int count, const RandomSceneOptions& options, const SceneProperty& property)
{
    const char* onlySeed = std::getenv("KXOPT_SEED");
    const auto first = static_cast<uint32_t>(onlySeed ? std::atoi(onlySeed) : 1);
    const uint32_t last = onlySeed ? first : static_cast<uint32_t>(count);
    for (uint32_t seed = first; seed <= last; ++seed)
    {
        TestScene scene = makeRandomScene(seed, options);
        const std::string text = printScene(scene);
        if (property(scene).empty())
            continue;
        const auto faultOf = [&](const std::string& candidate)
        {
            TestScene parsed;
            return tryParse(candidate, parsed) ? property(parsed) : std::string();
        };
        if (faultOf(text).empty())
        {
            scene = makeRandomScene(seed, options);
            ADD_FAILURE() << "seed " << seed << ", which the scene's text does not show again: " << property(scene)
                          << "\nscene: " << text;
            return;
        }
        const std::string smallest =
            shrinkScene(text, [&](const std::string& candidate) { return !faultOf(candidate).empty(); });
        ADD_FAILURE() << "seed " << seed << ": " << faultOf(smallest) << "\nsmallest scene: " << smallest;
        return;
    }
}

} // namespace Kel::Test
