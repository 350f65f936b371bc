// Items that list, edit and replace children and attributes.
#include "opt/items/kxChildContainer.h"
#include "opt/scene/kxRepairHierarchy.h"
#include "opt/tracking/kxReplacedEvents.h"
#include "platform/attrs/kxLightStateAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "tests/opt/items/itemTestClasses.h"
#include "tests/opt/randomGraph.h"

#include <algorithm>

namespace Kel::Opt
{
namespace
{

const kxItemNames& names = kxItemNames::get();

std::string namesOf(const kxObjectList* list)
{
    if (!list)
        return "no list";
    std::string text;
    for (const kxObject* object : *list)
    {
        const auto* node = kxCast<kxNode>(object);
        const auto* attr = kxCast<kxAttr>(object);
        if (!text.empty())
            text += ' ';
        text += node     ? node->getName().c_str()
                : attr   ? attr->getName().c_str()
                : object ? object->getTypeName()
                         : "null";
    }
    return text;
}

std::string listOf(TestRun& run, kxStringRef traversal, kxObject* container, kxStringRef function)
{
    kxItemCall call(run.m_manager, traversal, container, kxItemCall::TRAVERSAL);
    if (!call.set(names.containerField, container).run(function))
        return "failed";
    return namesOf(call.getList(function == names.getChildList ? names.childListField : names.parentListField));
}

TEST(kxNodeTraversal, ListsChildrenAndParents)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(Group#a "a"(Camera#c "c", Camera#c), Group "b"(Camera#c, null)))");
    const kxStringRef traversal = names.nodeTraversal;
    EXPECT_EQ(listOf(run, traversal, scene["root"], names.getChildList), "a b");
    EXPECT_EQ(listOf(run, traversal, scene["a"], names.getChildList), "c c");
    EXPECT_EQ(listOf(run, traversal, scene["b"], names.getChildList), "c null");
    EXPECT_EQ(listOf(run, traversal, scene["c"], names.getChildList), "") << "no group, no children";
    EXPECT_EQ(listOf(run, traversal, scene["c"], names.getParentList), "a a b");
    EXPECT_EQ(listOf(run, traversal, scene["root"], names.getParentList), "");
    EXPECT_EQ(run.takeText(), "");
    EXPECT_EQ(listOf(run, traversal, kxNew<kxMaterialAttr>(), names.getChildList), "failed");
    EXPECT_EQ(run.takeText(), "the traversal kxNodeTraversal does not exist for this object (kxMaterialAttr)\n");
}

TEST(kxNodeTraversal, AddsToTheCallersListAndNeverGivesTheGroupsOwn)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(Group "a", Group "b"))");
    const auto list = kxNew<kxNodeList>();
    for (const char* expected : {"a b", "a b a b"})
    {
        kxItemCall call(run.m_manager, names.nodeTraversal, scene.m_root);
        call.set(names.containerField, scene.m_root).set(names.childListField, list).run(names.getChildList);
        EXPECT_EQ(call.getList(names.childListField), list);
        EXPECT_EQ(namesOf(list), expected);
    }
    kxItemCall call(run.m_manager, names.nodeTraversal, scene.m_root);
    call.set(names.containerField, scene.m_root).run(names.getChildList);
    const auto children = call.getList(names.childListField);
    scene.group("root")->removeAllChildren();
    EXPECT_EQ(namesOf(children), "a b");
}

TEST(kxNodeTraversal, WithoutAContainer)
{
    TestRun run;
    const auto item = run.m_manager->_itemInterface->createItemBase(names.nodeTraversal, kxNode::staticMetaObject());
    const auto input = kxNew<kxParameterSet>();
    EXPECT_TRUE(kxParameterSetWrapper(item->apply("getChildList", input)).hasSucceeded());
    EXPECT_FALSE(kxParameterSetWrapper(item->apply("getParentList", input)).hasSucceeded());
    input->setFieldValue("_container", kxNew<kxMaterialAttr>());
    EXPECT_FALSE(kxParameterSetWrapper(item->apply("getParentList", input)).hasSucceeded());
}

TEST(kxAttrTraversal, ListsWhatEachContainerHolds)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(AttrSet "set"{Material "m", TextureBind "t"}, LightSet "lights"{Light "l"},
                                LightStateSet "states"{LightState "s"}, Camera "camera"))");
    EXPECT_EQ(listOf(run, names.attrTraversal, scene["set"], names.getChildList), "m t");
    EXPECT_EQ(listOf(run, names.attrTraversal, scene["lights"], names.getChildList), "l");
    EXPECT_EQ(listOf(run, names.attrTraversal, scene["states"], names.getChildList), "s");
    EXPECT_EQ(listOf(run, names.attrTraversal, scene["camera"], names.getChildList), "");
    kxItemCall call(run.m_manager, names.attrTraversal, scene["set"]);
    call.set(names.containerField, scene["set"]).run(names.getChildList);
    EXPECT_TRUE(kxCast<kxAttrList>(call.getList(names.childListField))) << "a list of attributes";
}

TEST(kxObjectTraversal, ListsWhatFieldsReferTo)
{
    TestRun run;
    const auto light = kxNew<Kel::Attrs::kxLightStateAttr>();
    light->_light = kxNew<Kel::Attrs::kxLightAttr>();
    EXPECT_EQ(listOf(run, names.objectTraversal, light, names.getChildList), "");
    light->_light->_name = "sun";
    EXPECT_EQ(listOf(run, names.objectTraversal, light, names.getChildList), "sun");

    const NamedScene scene(R"(Group "root"(Group "a", null, Group "b"))");
    EXPECT_EQ(listOf(run, names.objectTraversal, scene.m_root, names.getChildList), "kxNodeList a b");
    // An object that refers to itself is not its own child.
    const auto list = kxNew<kxObjectList>();
    list->append(list);
    list->append(light);
    list->append(light);
    light->_name = "state";
    EXPECT_EQ(listOf(run, names.objectTraversal, list, names.getChildList).substr(0, 11), "state state");
    list->clear();

    // Parents cannot be asked for by name; the function itself gives back what it was given.
    EXPECT_EQ(listOf(run, names.objectTraversal, light, names.getParentList), "failed");
    EXPECT_EQ(run.takeText(), "The function getParentList is not available for the interface kxObjectTraversal\n");
    const auto item = run.create<kxObjectTraversal>();
    item->_parentList->append(light);
    const kxParameterSetWrapper result = item->getParentList(nullptr).get();
    EXPECT_TRUE(result.hasSucceeded());
    kxSmartPointer<kxObjectList> parents;
    EXPECT_EQ(result->getFieldValue("_parentList", parents), kSuccess);
    EXPECT_EQ(namesOf(parents), "state");
}

TEST(kxChildEdit, AddsAtTheEndAndSaysSuccessToWhatIsNotThere)
{
    struct
    {
        const char* what;
        const char* function;
        const char* child;
        const char* after;
    } const rows[] = {
        {"added behind the others", "addChild", "x", R"(Group "root"(Group "a", Group "b", Group "x"))"},
        {"added once more", "addChild", "a", R"(Group "root"(Group#1 "a", Group "b", Group#1))"},
        {"removed", "removeChild", "a", R"(Group "root"(Group "b"))"},
        {"not a child", "removeChild", "x", R"(Group "root"(Group "a", Group "b"))"},
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const NamedScene scene(R"(Group "root"(Group "a", Group "b"))");
        const NamedScene other(R"(Group "x")");
        kxNode* child = *row.child == 'x' ? other.m_root.get() : scene[row.child];
        kxItemCall call(run.m_manager, names.childEdit, scene.m_root);
        EXPECT_TRUE(call.set(names.containerField, scene.m_root).set(names.childField, child).run(row.function));
        EXPECT_EQ(scene.print(), Kel::Test::normalizeScene(row.after)) << row.what;
        EXPECT_TRUE(run.m_manager->_messageInterface->getMessageList()->isEmpty());
    }
}

TEST(kxChildEdit, NothingThatIsNoNodeBecomesAChild)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(Group "a"))");
    kxItemCall wrong(run.m_manager, names.childEdit, scene.m_root);
    EXPECT_TRUE(wrong.set(names.containerField, scene.m_root)
                    .set(names.childField, kxNew<kxMaterialAttr>())
                    .run(names.addChild));
    kxItemCall null(run.m_manager, names.childEdit, scene.m_root);
    EXPECT_FALSE(null.set(names.containerField, scene.m_root)
                     .set(names.childField, static_cast<kxObject*>(nullptr))
                     .run(names.addChild));
    EXPECT_EQ(scene.print(), Kel::Test::normalizeScene(R"(Group "root"(Group "a"))"));
}

TEST(kxAttrEdit, EditsTheListOfItsType)
{
    struct
    {
        const char* scene;
        const char* added;
        const char* after;
    } const rows[] = {
        {"AttrSet{Material}", "kxStateAttr", "AttrSet{Material, State}"},
        {"LightSet", "kxLightAttr", "LightSet{Light}"},
        {"LightStateSet", "kxLightStateAttr", "LightStateSet{LightState}"},
        {"LightSet", "kxMaterialAttr", "LightSet"}, // no light
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const NamedScene scene(row.scene);
        const auto attr = kxMetaObject::find(row.added)->createInstance();
        for (kxStringRef function : {names.addAttr, names.removeAttr, names.removeAttr})
        {
            kxItemCall call(run.m_manager, names.attrEdit, scene.m_root);
            EXPECT_TRUE(call.set(names.containerField, scene.m_root).set(names.attrField, attr).run(function));
            EXPECT_EQ(scene.print(), Kel::Test::normalizeScene(function == names.addAttr ? row.after : row.scene));
        }
    }
}

TEST(kxReplaceChild, KeepsEveryOtherChildInItsPlace)
{
    struct
    {
        const char* what;
        const char* oldChild;
        const char* newChild;
        const char* after; // names, or the message
    } const rows[] = {
        {"the first", "a", "x", "x b c a"},    {"a middle one", "b", "x", "a x c a"},
        {"the last", "c", "x", "a b x a"},     {"by itself", "b", "b", "a b c a"},
        {"by a sibling", "b", "c", "a c c a"}, {"one that is not there", "x", "a", nullptr},
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const NamedScene scene(R"(Group "root"(Group#a "a", Group "b", Group "c", Group#a))");
        const auto other = kxNew<kxGroup>();
        other->setName("x");
        const auto find = [&](const char* name) { return *name == 'x' ? other.get() : scene.group(name); };
        kxItemCall call(run.m_manager, names.replaceChildItem, scene.m_root);
        call.set(names.containerField, scene.m_root);
        call.set(names.oldChildField, find(row.oldChild)).set(names.newChildField, find(row.newChild));
        EXPECT_EQ(call.run(names.replaceChild), row.after != nullptr) << row.what;
        EXPECT_EQ(namesOf(scene.group("root")->getChildList()), row.after ? row.after : "a b c a") << row.what;
        EXPECT_EQ(run.takeText(), row.after ? "" : "The child x was not a child of the group root\n");

        const kxObjectList* events = run.m_manager->_messageInterface->getMessageList();
        ASSERT_EQ(events->getCount(), row.after ? 1u : 0u) << row.what;
        if (row.after)
        {
            const auto* event = kxCast<kxReplacedChildEvent>(events->get(0));
            ASSERT_TRUE(event);
            EXPECT_EQ(event->_object.get(), scene.m_root.get());
            EXPECT_EQ(event->_oldChild.get(), find(row.oldChild));
            EXPECT_EQ(event->_newChild.get(), find(row.newChild));
        }
        EXPECT_EQ(Kel::Test::findLinkFaults(scene.m_root), "") << row.what;
    }
}

TEST(kxReplaceAttr, ReplacesTheFirstOccurrenceAndQueuesNothing)
{
    TestRun run;
    const NamedScene scene(R"(AttrSet "set"{Material#m "m", State "s", Material#m})");
    auto* set = kxCast<kxAttrSet>(scene.m_root);
    const auto other = kxNew<kxMaterialAttr>();
    other->_name = "x";
    const kxSmartPointer<kxAttr> old = set->getAttrs()->get(0);
    for (const char* after : {"x s m", "x s x", "failed"})
    {
        kxItemCall call(run.m_manager, names.replaceAttrItem, set);
        call.set(names.containerField, set).set(names.oldAttrField, old).set(names.newAttrField, other);
        EXPECT_EQ(call.run(names.replaceAttr) ? namesOf(set->getAttrs()) : "failed", after);
    }
    EXPECT_EQ(run.takeText(), "The Attribute kxMaterialAttr was not found in the attribute set set (kxAttrSet)\n");
    EXPECT_TRUE(run.m_manager->_messageInterface->getMessageList()->isEmpty());
}

TEST(kxReplaceObject, MovesUsesAndChildren)
{
    struct
    {
        const char* what;
        const char* traversal;
        const char* oldObject;
        const char* newObject;
        const char* after; // null: as it was
        const char* printed;
        int events;
    } const rows[] = {
        {"every use and every child", "kxNodeTraversal", "old", "new",
         R"(Group "root"(Group "p"(Group#n "new"(Group "x", Group "a", Group "b")),
                         Group "q"(Group "y", Group#n), Group#n))",
         "", 3},
        {"by itself", "kxNodeTraversal", "old", "old", nullptr, "", 1},
        {"without children", "kxNodeTraversal", "y", "new",
         R"(Group "root"(Group "p"(Group#o "old"(Group "a", Group "b")),
                         Group "q"(Group#n "new"(Group "x"), Group#o), Group#n))",
         "", 2},
        {"a traversal that knows no parents", "kxObjectTraversal", "old", "new", nullptr,
         "There is no available parent list for the object kxGroup\n", 0},
        {"a traversal that does not exist", "kxUnheardOf", "old", "new", nullptr,
         "the traversal kxUnheardOf does not exist for this object (kxGroup)\n"
         "There is no available parent list for the object kxGroup\n",
         0},
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const NamedScene scene(R"(Group "root"(Group "p"(Group#o "old"(Group "a", Group "b")),
                                               Group "q"(Group "y", Group#o), Group "new"(Group "x")))");
        const std::string before = scene.print();
        kxItemCall call(run.m_manager, names.replaceObjectItem, scene[row.oldObject]);
        call.set("_traversalName", row.traversal).set("_oldObject", scene[row.oldObject]);
        EXPECT_EQ(call.set("_newObject", scene[row.newObject]).run(names.replaceObject), *row.printed == '\0')
            << row.what;
        EXPECT_EQ(scene.print(), row.after ? Kel::Test::normalizeScene(row.after) : before) << row.what;
        EXPECT_EQ(run.takeText(), row.printed) << row.what;
        const kxObjectList* events = run.m_manager->_messageInterface->getMessageList();
        EXPECT_EQ(events->getCount(), static_cast<uint32_t>(row.events)) << row.what;
        if (row.events)
        {
            EXPECT_TRUE(kxCast<kxReplacedObjectEvent>(events->getLast())) << row.what;
        }
        EXPECT_EQ(Kel::Test::findLinkFaults(scene.m_root), "") << row.what;
    }
}

TEST(kxReplaceObject, StopsAtTheStepThatFails)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(Group "old"(Group "a"), Camera "new"))");
    kxItemCall call(run.m_manager, names.replaceObjectItem, scene["old"]);
    call.set("_traversalName", "kxNodeTraversal").set("_oldObject", scene["old"]).set("_newObject", scene["new"]);
    EXPECT_FALSE(call.run(names.replaceObject));
    EXPECT_EQ(run.takeText(), "the interface kxChildEdit does not exist for this object (kxCamera)\n");
    EXPECT_EQ(scene.print(), Kel::Test::normalizeScene(R"(Group "root"(Camera#c "new", Camera#c))"))
        << "what was done before stays";
}

TEST(kxCompareAttr, ComparesBinds)
{
    struct
    {
        const char* what;
        const char* scene; // two attributes
        bool alike;        // to kxCompareAttr
        bool alikeByTexture;
    } const rows[] = {
        {"one texture", R"(AttrSet{TextureBind[texture=Texture#t<"a.png">], TextureBind[texture=Texture#t]})", true,
         true},
        {"equal textures", R"(AttrSet{TextureBind[texture=Texture<"a.png">], TextureBind[texture=Texture<"a.png">]})",
         false, true},
        {"other images", R"(AttrSet{TextureBind[texture=Texture<"a.png">], TextureBind[texture=Texture<"b.png">]})",
         false, false},
        {"no textures", "AttrSet{TextureBind, TextureBind}", true, true},
        {"one without a texture", R"(AttrSet{TextureBind[texture=Texture<"a.png">], TextureBind})", false, false},
        {"other units", "AttrSet{TextureBind[unit=1], TextureBind}", false, false},
        {"a locked bind", "AttrSet{TextureBind!, TextureBind}", false, false},
        {"another locked bind", "AttrSet{TextureBind, TextureBind!}", false, false},
        {"a locked texture",
         R"(AttrSet{TextureBind[texture=Texture!<"a.png">], TextureBind[texture=Texture<"a.png">]})", false, false},
        {"names do not count", R"(AttrSet{TextureBind "one", TextureBind "two"})", true, true},
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const Kel::Test::TestScene scene = Kel::Test::parseScene(row.scene);
        run.getService()->_file = scene.asFile();
        const std::string before = Kel::Test::printScene(scene);
        const kxAttrList* attrs = kxCast<kxAttrSet>(scene.root())->getAttrs();
        for (const auto& [comparison, alike] :
             {std::pair(names.compareAttr, row.alike), {"kxCompareAttrForTexture", row.alikeByTexture}})
        {
            kxItemCall call(run.m_manager, comparison, attrs->get(0), kxItemCall::COMPARISON);
            call.set(names.attributeOneField, attrs->get(0)).set(names.attributeTwoField, attrs->get(1));
            EXPECT_TRUE(call.run(names.compare));
            EXPECT_EQ(call.getFlag(names.compareField), alike) << row.what << " by " << comparison.c_str();
        }
        EXPECT_EQ(Kel::Test::printScene(scene), before) << row.what;
    }

    TestRun run;
    const auto bind = kxNew<Kel::Attrs::kxTextureBindAttr>();
    kxItemCall missing(run.m_manager, "kxCompareAttrForTexture", kxNew<kxMaterialAttr>(), kxItemCall::COMPARISON);
    EXPECT_EQ(run.takeText(), "there is no comparison kxCompareAttrForTexture registered for kxMaterialAttr");
    kxItemCall mixed(run.m_manager, "kxCompareAttrForTexture", bind);
    EXPECT_TRUE(mixed.set(names.attributeOneField, bind)
                    .set(names.attributeTwoField, kxNew<kxMaterialAttr>())
                    .run(names.compare));
    EXPECT_FALSE(mixed.getFlag(names.compareField));
}

TEST(kxFieldUpdate, PassesValuesBetweenSetsAndFields)
{
    TestRun run;
    const NamedScene scene(R"(Group "root"(Transform "t"))");
    kxNode* node = scene["t"];
    struct
    {
        const char* what;
        const char* field;
        void (*give)(kxItemCall& call);
        const char* message; // null: it works
    } const rows[] = {
        {"a string", "_name", [](kxItemCall& call) { call.set(names.valueField, "renamed"); }, nullptr},
        {"a vector", "_scale", [](kxItemCall& call) { call.set(names.valueField, kxVec3f(2, 3, 4)); }, nullptr},
        {"an object of the right type", "_boundingVolume",
         [](kxItemCall& call) { call.set(names.valueField, kxNew<kxBoundingVolume>()); }, nullptr},
        {"an object of another type", "_boundingVolume",
         [](kxItemCall& call) { call.set(names.valueField, kxNew<kxGroup>()); },
         "The field _boundingVolume of the object kxTransform needs a value of its type\n"},
        {"a number for a string", "_name", [](kxItemCall& call) { call.set(names.valueField, 3); },
         "The field _name of the object kxTransform needs a value of its type\n"},
        {"no value", "_name", [](kxItemCall&) {},
         "The field _name of the object kxTransform needs a value of its type\n"},
        {"no such field", "_title", [](kxItemCall& call) { call.set(names.valueField, 3); },
         "The object kxTransform has no field _title\n"},
    };
    for (const auto& row : rows)
    {
        kxItemCall update(run.m_manager, names.fieldUpdate, node);
        row.give(update);
        EXPECT_EQ(update.set(names.objectField, node).set("_fieldName", row.field).run(names.updateField), !row.message)
            << row.what;
        EXPECT_EQ(run.takeText(), row.message ? row.message : "") << row.what;
        if (row.message)
            continue;
        // The source gives back what the update has set, as the field's own type.
        kxItemCall source(run.m_manager, names.fieldSource, node);
        EXPECT_TRUE(source.set(names.objectField, node).set("_fieldName", row.field).run(names.updateSource));
        const kxMetaField* field = node->getMetaObject()->findField(row.field);
        const kxMetaField* value = source.getResult()->findField(names.valueField);
        ASSERT_TRUE(value);
        EXPECT_EQ(value->getMetaObject(), field->getMetaObject());
        const void* bytes = static_cast<const char*>(source.getResult()->getValues()) + value->getOffset();
        EXPECT_TRUE(field->isValueAlike(field->getAddress(static_cast<const kxObject*>(node)), bytes)) << row.what;
    }
    EXPECT_EQ(node->getName(), kxStringRef("renamed"));
}

// Random calls, sensible or not, keep parents and children in agreement, and the hierarchy check finds nothing.
TEST(kxItems, RandomEditsKeepLinksInAgreement)
{
    for (uint32_t seed = 1; seed <= 200; ++seed)
    {
        TestRun run;
        std::vector<kxSmartPointer<kxNode>> nodes = makeRandomGraph(seed);
        std::mt19937 random(seed);
        const auto any = [&]() { return static_cast<size_t>(random() % nodes.size()); };
        for (int step = 0; step < 40; ++step)
        {
            // Nodes stand in an order in which parents come first: edits along it make no cycles.
            const size_t a = any(), b = any(), c = any();
            kxNode* parent = nodes[std::min({a, b, c})];
            kxNode* child = nodes[std::max({a, b, c})];
            kxNode* other = nodes[std::max(std::min(a, b), std::min(std::max(a, b), c))];
            if (parent == child || parent == other)
                continue;
            switch (random() % 4)
            {
            case 0:
            case 1:
            {
                kxItemCall call(run.m_manager, names.childEdit, parent, kxItemCall::SILENT);
                call.set(names.containerField, parent).set(names.childField, child);
                call.tryRun(random() % 2 ? names.addChild : names.removeChild);
                break;
            }
            case 2:
            {
                kxItemCall call(run.m_manager, names.replaceChildItem, parent);
                call.set(names.containerField, parent).set(names.oldChildField, other).set(names.newChildField, child);
                call.tryRun(names.replaceChild);
                break;
            }
            default:
            {
                // The children of the old object come below the new one, so that must stand in front of them.
                const auto* group = kxCast<kxGroup>(child);
                if (!group || group->getChildCount() > 0 || child == nodes[0])
                    break;
                kxItemCall call(run.m_manager, names.replaceObjectItem, child);
                call.set("_traversalName", "kxNodeTraversal").set("_oldObject", child).set("_newObject", nodes.back());
                call.tryRun(names.replaceObject);
                break;
            }
            }
        }
        run.takeText();
        const auto check = run.create<kxRepairHierarchy>();
        check->_disableRepair = true;
        kxSmartPointer<kxNode> root = kxNew<kxGroup>();
        for (const auto& node : nodes)
            static_cast<kxGroup*>(root.get())->appendChild(node);
        check->apply(root);
        EXPECT_EQ(run.takeText(), "") << "seed " << seed;
        EXPECT_EQ(Kel::Test::findLinkFaults(root), "") << "seed " << seed;
    }
}

} // namespace
} // namespace Kel::Opt
