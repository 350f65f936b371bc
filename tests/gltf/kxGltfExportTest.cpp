// Any graph of the scene classes becomes glTF, not only one that came from it.
#include "tests/gltf/kxGltfTestTools.h"

#include "interop/gltf/kxGltfOptions.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxTransformSequence1_5.h"

namespace Kel::Gltf
{

namespace
{

kxSmartPointer<kxVertexArray> arrayOf(const char* semantic, uint32_t components, const std::vector<float>& values)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = semantic;
    array->_componentCount = components;
    array->_count = static_cast<int64_t>(values.size() / components);
    array->_stride = components * 4;
    array->_data = kxMemoryBlock::copyOf(values.data(), values.size() * 4);
    return array;
}

template <class T, class... Children>
kxSmartPointer<T> group(const char* name, const Children&... children)
{
    auto node = kxNew<T>();
    node->setName(name);
    (node->appendChild(children), ...);
    return node;
}

kxSmartPointer<kxGeometry> geometry(const char* name)
{
    auto data = kxNew<kxGeometryAttr>();
    data->_arrays->append(arrayOf("POSITION", 3, {0, 0, 0, 1, 0, 0, 0, 1, 0}));
    auto node = kxNew<kxGeometry>();
    node->setName(name);
    node->appendAttr(data);
    return node;
}

kxSmartPointer<kxMaterialAttr> material(const char* name)
{
    auto attr = kxNew<kxMaterialAttr>();
    attr->_name = name;
    return attr;
}

kxSmartPointer<kxTextureBindAttr> bind(const char* slot)
{
    auto attr = kxNew<kxTextureBindAttr>();
    attr->_slot = slot;
    attr->_unit = kxTextureBindAttr::unitOfSlot(slot);
    attr->_texture = kxNew<kxTextureAttr>();
    attr->_texture->_name = slot;
    return attr;
}

template <class T = kxAttrSet, class... Children>
kxSmartPointer<T> set(const std::vector<kxSmartPointer<kxAttr>>& attrs, const Children&... children)
{
    auto node = group<T>("", children...);
    for (kxAttr* attr : attrs)
        node->appendAttr(attr);
    return node;
}

class GltfExport : public GltfTest
{
protected:
    void write(kxNode* root, kxFileOptions* options = nullptr)
    {
        auto directory = kxNew<kxDirectory>();
        auto scene = kxNew<kxSceneInfo>();
        scene->setSceneGraph(root);
        directory->addEntry(scene, "scene");
        ASSERT_TRUE(save(*directory, "out.gltf", options)) << m_errors;
        open("out.gltf");
    }
    /// The nodes as text: name, what it holds, children in brackets; from the roots of the first scene.
    std::string tree()
    {
        std::string text;
        for (uint32_t i = 0; !at(kxFormat("scenes/0/nodes/%u", i)).empty(); ++i)
            text.append(i ? " " : "").append(describe(at(kxFormat("scenes/0/nodes/%u", i))));
        return text;
    }

    /// Place of the first node of that name.
    std::string node(const char* name)
    {
        for (uint32_t i = 0; i < count("nodes"); ++i)
            if (at(kxFormat("nodes/%u/name", i)) == kxFormat("\"%s\"", name))
                return kxFormat("nodes/%u", i);
        ADD_FAILURE() << "no node " << name;
        return "nodes/0";
    }

private:
    std::string describe(const std::string& index)
    {
        const std::string place = kxFormat("nodes/%s", index.c_str());
        std::string text = replaced(at(place + "/name"), "\"", "");
        for (const char* key : {"mesh", "camera", "skin"})
            if (const std::string value = at(place + "/" + key); !value.empty())
                text += kxFormat("%s%s%s", text.empty() ? "" : " ", key, value.c_str());
        for (uint32_t i = 0; !at(kxFormat("%s/children/%u", place.c_str(), i)).empty(); ++i)
            text.append(i ? ", " : " (").append(describe(at(kxFormat("%s/children/%u", place.c_str(), i))));
        return at(place + "/children").empty() ? text : text + ")";
    }
};

TEST_F(GltfExport, AttributesComeFromThePath)
{
    const auto red = material("red"), blue = material("blue"), own = material("own");
    const auto map = bind("normalTexture");
    const auto a = geometry("a"), b = geometry("b"), c = geometry("c"), d = geometry("d");
    d->appendAttr(own);
    // red over all; blue nearer to b; an override of blue that neither a set nor the geometry itself can replace; d with its
    // own; and a texture added to the red one below.
    const auto graph = set({red}, group<kxTransform>("A", a), group<kxTransform>("B", set({blue}, b)),
                           group<kxTransform>("C", set<kxOverrideAttrSet>({blue}, set({red}, c), d)),
                           group<kxTransform>("D", d), group<kxTransform>("E", set({map}, a)));
    write(group<kxGroup>("", graph));
    auto materialOf = [&](const char* name)
    {
        const std::string mesh = at(node(name) + "/mesh");
        const std::string index = at(kxFormat("meshes/%s/primitives/0/material", mesh.c_str()));
        return replaced(at("materials/" + index + "/name"), "\"", "") +
               (at("materials/" + index + "/normalTexture").empty() ? "" : "+map");
    };
    EXPECT_EQ(materialOf("A"), "red");
    EXPECT_EQ(materialOf("B"), "blue");
    EXPECT_EQ(materialOf("C"), "blue");
    EXPECT_EQ(materialOf("D"), "own");
    EXPECT_EQ(materialOf("E"), "red+map");
    EXPECT_EQ(count("materials"), 4u);
}

TEST_F(GltfExport, OneMeshForEachCombinationOfMaterials)
{
    auto mesh = group<kxMesh>("mesh", geometry("a"), set({material("inner")}, geometry("b")));
    const auto red = material("red"), blue = material("blue");
    write(group<kxGroup>("", group<kxTransform>("A", set({red}, mesh)), group<kxTransform>("B", set({blue}, mesh)),
                         group<kxTransform>("C", set({red}, mesh)), group<kxTransform>("D", mesh)));
    EXPECT_EQ(count("meshes"), 3u);
    EXPECT_EQ(at(node("A") + "/mesh"), at(node("C") + "/mesh"));
    EXPECT_EQ(at("meshes/" + at(node("D") + "/mesh") + "/primitives/0/material"), "");
    EXPECT_NE(at("meshes/" + at(node("D") + "/mesh") + "/primitives/1/material"), "");
    for (const char* name : {"meshes/0/name", "meshes/1/name", "meshes/2/name"})
        EXPECT_EQ(at(name), "\"mesh\"");
    EXPECT_EQ(count("materials"), 3u);
    EXPECT_EQ(count("accessors"), 2u);
}

TEST_F(GltfExport, MeshesFindTheirNodes)
{
    const auto loose = geometry("loose");
    const auto mesh = group<kxMesh>("m", geometry(""));
    auto camera = kxNew<kxCamera>();
    camera->setName("eye");
    const struct
    {
        kxSmartPointer<kxNode> root;
        const char* tree;
    } kCases[] = {
        // A plain root is the scene itself; what it holds gets nodes of its own.
        {group<kxGroup>("r", mesh, camera), "m mesh0 eye camera0"},
        {group<kxGroup>("r", loose, geometry("b")), "mesh0"},
        // Any other root is a node.
        {group<kxTransform>("r", mesh), "r mesh0"},
        {mesh, "m mesh0"},
        {camera, "eye camera0"},
        // One mesh for a node; more of them, and more cameras, go to children.
        {group<kxGroup>("", group<kxTransform>("T", mesh, group<kxMesh>("m2", geometry("")), loose)),
         "T mesh1 (m2 mesh2, loose mesh0)"},
        {group<kxGroup>("", group<kxTransform>("T", camera, camera)), "T camera0 (eye camera0)"},
        // Groups stay, empty ones too; null children go.
        {group<kxGroup>("", group<kxGroup>("G", group<kxGroup>("H"), kxSmartPointer<kxNode>())), "G (H)"},
        // What stands below a mesh without being part of it.
        {group<kxGroup>("", group<kxTransform>("T", group<kxMesh>("m", loose, group<kxTransform>("U", loose)))),
         "T mesh1 (U mesh0)"},
        {nullptr, ""},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.tree);
        write(c.root);
        EXPECT_EQ(tree(), c.tree);
    }
}

TEST_F(GltfExport, SharedNodesAreCopiedAndMeshesAreNot)
{
    const auto house = group<kxTransform>("house", group<kxMesh>("m", geometry("")), group<kxGroup>("door"));
    write(group<kxGroup>("", group<kxTransform>("A", house), group<kxTransform>("B", house),
                         group<kxTransform>("house_2", house, house)));
    // The name that would come next is taken.
    EXPECT_EQ(tree(), "A (house mesh0 (door)) B (house_3 mesh0 (door_2)) "
                      "house_2 (house_4 mesh0 (door_3), house_5 mesh0 (door_4))");
    EXPECT_EQ(count("meshes"), 1u);

    // Sharing of sharing unfolds beyond all bounds; that is an error and no file.
    kxSmartPointer<kxGroup> node = group<kxGroup>("leaf");
    for (int level = 0; level < 40; ++level)
        node = group<kxGroup>("", node, node);
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(node, "huge");
    EXPECT_FALSE(save(*directory, "huge.gltf"));
    EXPECT_EQ(m_errors, "huge.gltf: has more than 16777216 nodes once its shared ones are copied\n");
    EXPECT_FALSE(exists("huge.gltf"));
}

// As a node it would be a parent, and a root that two scenes have in common would be there twice.
TEST_F(GltfExport, CompiledScenesKeepTheirRoots)
{
    const auto shared = group<kxGroup>("shared");
    auto directory = kxNew<kxDirectory>();
    for (const char* own : {"A", "B"})
    {
        const auto scene = kxNew<kxSceneInfo>();
        const auto compiled = group<kxCompiledGraph>("", group<kxGroup>("", shared, group<kxGroup>(own)));
        scene->setSceneGraph(group<kxCompiledGraph>("", compiled));
        directory->addEntry(scene, own);
    }
    ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
    open("out.gltf");
    EXPECT_EQ(at("scenes/0/nodes"), "[0,1]");
    EXPECT_EQ(at("scenes/1/nodes"), "[0,2]");
    EXPECT_EQ(count("nodes"), 3u);
}

TEST_F(GltfExport, SkinsWeightsAndInstancesFoldIntoTheNode)
{
    const auto mesh = group<kxMesh>("m", geometry(""));
    auto joint = group<kxTransform>("joint");
    auto skin = kxNew<kxSkin>();
    skin->_joints->append(joint);
    auto actor = kxNew<kxActor>();
    actor->_skin = skin;
    actor->appendChild(mesh);
    auto instances = kxNew<kxInstanceArray>();
    instances->_arrays->append(arrayOf("TRANSLATION", 3, {0, 0, 0, 5, 0, 0}));
    instances->appendChild(mesh);
    write(group<kxGroup>("", joint, group<kxTransform>("A", actor), group<kxTransform>("I", instances)));
    EXPECT_EQ(tree(), "joint A mesh0 skin0 I mesh0");
    EXPECT_NE(at(node("I") + "/extensions/EXT_mesh_gpu_instancing/attributes/TRANSLATION"), "");
    EXPECT_EQ(at("extensionsRequired"), R"(["EXT_mesh_gpu_instancing"])");
    EXPECT_EQ("nodes/" + at("skins/0/joints/0"), node("joint"));

    // Instances of more than a mesh have no word in the format: they become nodes.
    instances->appendChild(group<kxTransform>("U", mesh));
    write(group<kxGroup>("", joint, group<kxTransform>("I", instances)));
    EXPECT_EQ(tree(), "joint I (mesh0 (U mesh0), mesh0 (U_2 mesh0))");
    EXPECT_EQ(at("nodes/2/translation") + at("nodes/3/translation"), "[5,0,0]");
}

// What is reached on several paths becomes copies, and every copy has to do what the one did.
TEST_F(GltfExport, CopiesFollowTheirOwnJointsAndMoveAll)
{
    const auto joint = group<kxTransform>("joint", group<kxTransform>("hand"));
    auto skin = kxNew<kxSkin>();
    skin->_name = "skin";
    skin->_joints->append(find(joint, "hand"));
    skin->_joints->append(joint);
    auto actor = kxNew<kxActor>();
    actor->_skin = skin;
    actor->appendChild(group<kxMesh>("m", geometry("")));
    const auto rig = group<kxTransform>("rig", group<kxTransform>("body", actor), joint);
    skin->_skeletonRoot->append(rig);
    const auto track = kxNew<kxAnimationTrack>();
    const auto keys = kxNew<kxTransformSequence1_5>();
    keys->_keyFlags = kxTransformSequence::HAS_TRANSLATIONS;
    keys->_times = kxNew<kxLongList>();
    keys->_times->append(0);
    keys->_translations = kxNew<kxVec3fList>();
    keys->_translations->append(kxVec3f(1, 2, 3));
    track->setSource(keys);
    track->_target = joint;
    const auto clip = kxNew<kxAnimation>();
    clip->_trackList->append(track);
    const auto database = kxNew<kxAnimationDatabase>();
    database->_animationList->append(clip);
    database->_skinList->append(skin);

    auto directory = kxNew<kxDirectory>();
    const char* names[] = {"A", "B"};
    for (const char* name : names)
    {
        const auto scene = kxNew<kxSceneInfo>();
        scene->_name = name;
        scene->setSceneGraph(group<kxGroup>("", group<kxTransform>(name, rig), group<kxTransform>(name)));
        directory->addEntry(scene, name);
    }
    // A second wearer in the second scene, beside the rig: the joints of its scene are next of kin.
    rootOf(*directory, 1)->appendChild(group<kxTransform>("C", actor));
    directory->addEntry(database, "animations");
    for (const char* name : {"out.kxb", "out.gltf"}) // glTF itself cannot say that a node is below two others
    {
        ASSERT_TRUE(save(*directory, name)) << m_errors;
        EXPECT_EQ(m_warnings, "");
        directory = load("out.kxb");
        ASSERT_TRUE(directory) << m_errors;
    }
    open("out.gltf");
    const auto number = [&](const char* name) { return node(name).substr(6); };
    EXPECT_EQ(count("skins"), 2u);
    EXPECT_EQ(at(node("body") + "/skin") + at(node("body_2") + "/skin") + at(node("C") + "/skin"), "011");
    for (const bool second : {false, true})
    {
        const char* end = second ? "_2" : "";
        const std::string place = kxFormat("skins/%d", second);
        const auto copy = [&](const char* name) { return number(kxFormat("%s%s", name, end).c_str()); };
        EXPECT_EQ(at(place + "/name"), kxFormat("\"skin%s\"", end));
        EXPECT_EQ(at(place + "/joints"), kxFormat("[%s,%s]", copy("hand").c_str(), copy("joint").c_str()));
        EXPECT_EQ(at(place + "/skeleton"), copy("rig"));
        EXPECT_EQ(at(kxFormat("animations/0/channels/%d/target/node", second)), copy("joint"));
    }
}

TEST_F(GltfExport, JointsThatGiveNoNodeAreNoSkin)
{
    auto skin = kxNew<kxSkin>();
    const auto joint = group<kxAttrSet>("set"); // skins do not hold their joints
    skin->_joints->append(joint);
    auto actor = kxNew<kxActor>();
    actor->_skin = skin;
    actor->appendChild(group<kxMesh>("m", geometry("")));
    write(group<kxGroup>("", group<kxTransform>("A", actor)));
    EXPECT_EQ(tree(), "A mesh0");
    EXPECT_EQ(m_warnings, "out.gltf: skin with joints that are no transforms is not written\n");
}

TEST_F(GltfExport, TransformsKeepTheirForm)
{
    auto parts = group<kxTransform>("parts");
    parts->setParts(kxVec3f(1, 2, 3), kxQuatf(0, 1, 0, 0), kxVec3f(-1, 1, 1));
    auto matrix = group<kxTransform>("matrix");
    kxMatrix44f mirrored;
    mirrored.setScale(kxVec3f(-2, 2, 2));
    matrix->setMatrix(mirrored);
    write(group<kxGroup>("", parts, matrix, group<kxTransform>("identity")));
    EXPECT_EQ(at("nodes/0/translation"), "[1,2,3]");
    EXPECT_EQ(at("nodes/0/rotation"), "[1,0,0,0]");
    EXPECT_EQ(at("nodes/0/scale"), "[-1,1,1]");
    EXPECT_EQ(at("nodes/1/matrix"), "[-2,0,0,0,0,2,0,0,0,0,2,0,0,0,0,1]");
    EXPECT_EQ(at("nodes/2"), R"({"name":"identity"})");
}

TEST_F(GltfExport, WhatTheFormatHasNoWordForIsKeptInExtras)
{
    auto chooser = group<kxSwitch>("choice", group<kxGroup>("a"), group<kxGroup>("b"));
    chooser->_whichChild = 1;
    write(group<kxGroup>("", chooser, group<kxSwitch>("other")));
    EXPECT_EQ(m_warnings,
              "out.gltf: kxSwitch has no counterpart in glTF and is written as a plain node (and 1 more)\n");
    EXPECT_EQ(tree(), "choice (a, b) other");
    EXPECT_EQ(at(kxFormat("nodes/%s/extras", at("scenes/0/nodes/0").c_str())),
              R"({"kxopt":{"class":"kxSwitch","_whichChild":1}})");
}

TEST_F(GltfExport, LightsGoToTheirNodesOneEach)
{
    auto lights = kxNew<kxLightSet>();
    for (const char* name : {"sun", "lamp"})
    {
        auto light = kxNew<kxLightAttr>();
        light->_name = name;
        lights->appendLightAttr(light);
    }
    write(group<kxGroup>("", group<kxTransform>("T", lights)));
    EXPECT_EQ(tree(), "T (lamp)");
    EXPECT_EQ(at("nodes/0/extensions/KHR_lights_punctual/light"), "0");
    EXPECT_EQ(at("nodes/1/extensions/KHR_lights_punctual/light"), "1");
    EXPECT_EQ(at("extensionsUsed"), R"(["KHR_lights_punctual"])");
}

// A mesh whose geometry was sorted into cells: the cells are nodes with meshes of their own, which keep the mesh's name and
// extras; what was not sorted stays with the node.
TEST_F(GltfExport, CellsWithinAMeshBecomeNodes)
{
    const auto a = geometry("a"), b = geometry("b"), c = geometry("c"), d = geometry("d");
    const auto mesh =
        group<kxMesh>("car", set({material("red")}, group<kxGroup>("cell0", a, b)), group<kxGroup>("cell1", c), d);
    mesh->_userData = kxNew<kxUserData>();
    mesh->_userData->_extras = R"({"wheels":4})";
    write(group<kxGroup>("", group<kxTransform>("T", mesh)));
    EXPECT_EQ(tree(), "T mesh2 (cell0 mesh0, cell1 mesh1)");
    EXPECT_NE(at("meshes/0/primitives/1"), "");
    for (uint32_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(at(kxFormat("meshes/%u/name", i)), "\"car\"") << i;
        EXPECT_EQ(at(kxFormat("meshes/%u/extras/wheels", i)), "4") << i;
    }
    EXPECT_EQ(at("meshes/0/primitives/1/material"), "0");
    EXPECT_EQ(at("meshes/1/primitives/0/material"), "");
}

// Boxes are for positions, as the format has it, and for nodes only when somebody asks.
TEST_F(GltfExport, VolumesAreExtrasWhenAskedFor)
{
    const auto place = group<kxTransform>("T", geometry("g"));
    place->_userData = kxNew<kxUserData>();
    place->_userData->_extras = R"({"mine":1})";
    place->_boundingVolume = kxNew<kxBoundingVolume>();
    place->_boundingVolume->_box = kxAABox(kxVec3f(0, 0, 0), kxVec3f(1, 1, 0));
    const auto root = group<kxGroup>("", place);
    write(root);
    EXPECT_EQ(at("accessors/0/max"), "[1,1,0]");
    EXPECT_EQ(at("nodes/0/extras"), R"({"mine":1})");
    const auto options = kxNew<kxGltfOptions>();
    options->_writeVolumes = true;
    write(root, options);
    EXPECT_EQ(at("nodes/0/extras/mine"), "1");
    EXPECT_EQ(at("nodes/0/extras/kxoptVolume/min"), "[0,0,0]");
    EXPECT_EQ(at("nodes/0/extras/kxoptVolume/max"), "[1,1,0]");
}

TEST_F(GltfExport, ADeepChainTakesNoStack)
{
    constexpr int kDepth = 100000;
    kxSmartPointer<kxGroup> node = group<kxTransform>("leaf", group<kxMesh>("", geometry("")));
    for (int level = 1; level < kDepth; ++level)
        node = group<kxTransform>("", node);
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(group<kxGroup>("", node), "chain");
    ASSERT_TRUE(save(*directory, "chain.glb"));
    const auto loaded = load("chain.glb");
    ASSERT_TRUE(loaded) << m_errors;
    int depth = 0;
    for (const kxGroup* at = rootOf(*loaded); at && at->getChildCount() > 0; at = kxCast<kxGroup>(at->getChild(0u)))
        ++depth;
    EXPECT_EQ(depth, kDepth + 2); // and the mesh and its geometry
}

TEST_F(GltfExport, ArraysThatReachPastTheirDataAreNoFile)
{
    const auto broken = geometry("g");
    broken->getGeometryAttr()->_arrays->get(0)->_count = 4;
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(broken, "broken");
    put("out.glb", "as it was");
    EXPECT_FALSE(save(*directory, "out.glb"));
    EXPECT_EQ(m_errors.substr(0, 44), "out.glb: cannot be written: vertex array POS");
    EXPECT_EQ(get("out.glb"), "as it was");
}

} // namespace

} // namespace Kel::Gltf
