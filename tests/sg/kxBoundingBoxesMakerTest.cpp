// Boxes around what is drawn, and the shaders that are made from text.
#include "platform/sg/kxBoundingBoxesMaker.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxIniShaderFactory.h"
#include "platform/sg/kxInterpretedShader.h"
#include "platform/sg/kxTransform.h"
#include "tests/support/kxRandomScene.h"

#include <gtest/gtest.h>

namespace Kel::Test
{
namespace
{

std::string textOf(const kxAABox& box)
{
    if (box.isEmpty())
        return "empty";
    auto round = [](float number) { return std::round(number * 1000) / 1000 + 0.0f; };
    return kxFormat("%g %g %g, %g %g %g", round(box.min.x), round(box.min.y), round(box.min.z), round(box.max.x),
                    round(box.max.y), round(box.max.z));
}

struct BoxCase
{
    const char* what;
    const char* scene;
    const char* box; // of the root, in the space of its parents
};
const BoxCase kBoxCases[] = {
    {"nothing drawn", "Group(Transform<1 2 3>, Camera, null)", "empty"},
    {"vertices", "Geometry{tri}", "0 0 0, 1 1 0"},
    {"children under their transforms", "Group(Transform<1 2 3>(Geometry{cube}), Geometry{tri})", "0 0 0, 2 3 4"},
    {"a transform moves its own box", "Transform<5 0 0 scale 2 2 2>(Geometry{cube})", "3 -2 -2, 7 2 2"},
    {"vertices that no index names",
     "Geometry{GeometryAttr[arrays=(VertexArray[semantic=\"POSITION\" componentCount=3 count=2 stride=12 "
     "data=x0000000000000000000000000000803f0000803f0000803f]) indices=VertexArray[componentType=5121 count=1 stride=1 "
     "data=x00]]}",
     "0 0 0, 0 0 0"},
    {"all children of a switch", "Switch<0>(Geometry{tri}, Transform<9 0 0>(Geometry{tri}))", "0 0 0, 10 1 0"},
    {"morph targets with every weight", "Geometry{morphed}", "0 0 0, 1 1 1"},
    {"a skin in its bind pose, where its first joint is",
     "Group(Joint#j<0 0 7>, Transform<100 0 0>(Actor[skin=Skin[joints=(Joint#j)]](Geometry{skinned})))",
     "0 0 7, 1 1 7"},
    {"what an actor draws without a skin", "Transform<100 0 0>(Actor(Geometry{tri}))", "100 0 0, 101 1 0"},
    {"a billboard turns", "Billboard[center=1,0,0](Geometry{tri})", "-0.414 -1.414 -1.414, 2.414 1.414 1.414"},
    {"instances",
     "InstanceArray[arrays=(VertexArray[semantic=\"TRANSLATION\" componentCount=3 count=2 stride=12 "
     "data=x0000000000000000000000000000803f0000803f0000803f])](Geometry{tri})",
     "0 0 0, 2 2 1"},
    {"particles for their lifetime", "Geometry{Particle[velocity=1,0,-1 lifetime=3 size=0.5]}",
     "-0.5 -0.5 -3.5, 3.5 0.5 0.5"},
};

// Every vertex of every path in the space of the root's parents.
void collectPoints(const kxNode* node, kxMatrix44f matrix, std::vector<kxVec3f>& points)
{
    if (const auto* transform = kxCast<kxTransform>(node))
        matrix = transform->getMatrix() * matrix;
    const auto* group = kxCast<kxGroup>(node);
    if (const auto* geometry = kxCast<kxGeometry>(node))
        for (const kxAttr* attr : *geometry->getAttrs())
            if (const auto* data = kxCast<kxGeometryAttr>(attr))
                if (const kxVertexArray* array = data->getArray("POSITION"))
                    for (int64_t i = 0; i < data->getDrawCount(); ++i)
                    {
                        const int64_t vertex = data->_indices ? data->_indices->getIndex(i) : i;
                        kxVec3f point;
                        for (uint32_t c = 0; c < 3; ++c)
                            point[static_cast<int>(c)] = static_cast<float>(array->getComponent(vertex, c));
                        points.push_back(point * matrix);
                    }
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
        if (group->getChild(i))
            collectPoints(group->getChild(i), matrix, points);
}

} // namespace

TEST(kxBoundingBoxesMaker, HoldsWhatIsDrawn)
{
    for (const BoxCase& c : kBoxCases)
    {
        const TestScene scene = parseScene(c.scene);
        EXPECT_EQ(textOf(kxNew<kxBoundingBoxesMaker>()->getBoxInParent(scene.root())), c.box) << c.what;
    }
}

// On scenes of plain nodes: each volume holds what its node draws and, where nothing turns, not more. What `optimize` leaves
// away would not have rejected anything.
TEST(kxBoundingBoxesMaker, FitsRandomScenes)
{
    RandomSceneOptions options;
    options.allNodeTypes = options.allAttrTypes = false;
    forRandomScenes(200, options,
                    [](TestScene& scene) -> std::string
                    {
                        const auto maker = kxNew<kxBoundingBoxesMaker>();
                        std::string fault;
                        auto check = [&](kxNode* node, bool canBeAbsent)
                        {
                            std::vector<kxVec3f> points;
                            kxMatrix44f own; // so that the node's own matrix does not count
                            if (const auto* transform = kxCast<kxTransform>(node))
                                own = transform->getMatrix().inverse();
                            collectPoints(node, own, points);
                            const kxBoundingVolume* volume = node->_boundingVolume;
                            if (points.empty() != !volume && !(canBeAbsent && !volume))
                                fault = node->getTypeName() + std::string(" with a wrong volume");
                            for (const kxVec3f& point : points)
                                for (int axis = 0; volume && axis < 3; ++axis)
                                    if (point[axis] < volume->_box.min[axis] - 1e-3f ||
                                        point[axis] > volume->_box.max[axis] + 1e-3f)
                                        fault = node->getTypeName() + std::string(" draws beyond its volume");
                        };
                        struct Context
                        {
                            std::function<void(kxNode*, bool)> check;
                            bool canBeAbsent;
                        } context{check, false};
                        auto checkAll = [&]
                        {
                            forEachNodeOnce(
                                scene.root(),
                                [](kxNode* node, void* data)
                                {
                                    auto* c = static_cast<Context*>(data);
                                    c->check(node, c->canBeAbsent);
                                },
                                &context);
                        };
                        maker->apply(scene.root());
                        checkAll();
                        maker->optimize(scene.root());
                        context.canBeAbsent = true;
                        checkAll();
                        maker->removeAll(scene.root());
                        if (maker->removeAll(scene.root()) != 0)
                            fault = "volumes are left";
                        return fault;
                    });
}

TEST(kxBoundingBoxesMaker, KeepsVolumesThatReject)
{
    const TestScene scene =
        parseScene("Group \"all\"(Group \"same\"(Transform \"moved\"<1 0 0>(Group \"drawn\"(Geometry \"tri\"{tri}))), "
                   "Transform \"other\"<9 0 0>(Geometry#g \"shared\"{tri}), Group \"one\"(Group \"two\"(Geometry#g)))");
    const auto maker = kxNew<kxBoundingBoxesMaker>();
    EXPECT_EQ(maker->apply(scene.root()), 9u);
    EXPECT_EQ(maker->optimize(scene.root()), 4u);
    std::string kept;
    forEachNodeOnce(
        scene.root(),
        [](kxNode* node, void* text)
        {
            if (node->_boundingVolume)
                static_cast<std::string*>(text)->append(node->getName().str()).append(" ");
        },
        &kept);
    EXPECT_EQ(kept, "all same other shared one ");
}

// A scene from a stranger names no files outside of the folder, and broken text makes no half of a shader.
TEST(kxIniShaderFactory, MakesPassesFromText)
{
    auto interpret = [&](const char* fields, std::string& warnings)
    {
        kxReportCollector reports;
        const TestScene scene = parseScene(kxFormat("InterpretedShader[shaderData=InterpretedShaderData[factory="
                                                    "IniShaderFactory[%s]]]",
                                                    fields));
        auto* shader = static_cast<kxInterpretedShader*>(scene.root());
        const bool done = shader->interpret();
        warnings = reports.m_warnings;
        std::string passes;
        for (const kxShaderPass* pass : *shader->_passes)
            for (const kxAttr* attr : *pass->getAttrs())
                passes += kxTextScene::print(attr) + ";";
        return done ? passes : "none " + passes;
    };
    std::string warnings;
    EXPECT_EQ(interpret("storage=2 text=\"[PASS1]\\nattribute1 = Material red\\nattribute2 = "
                        "State[state=\\\"fog\\\"]\\n[PASS2]\\n\"",
                        warnings),
              "Material red;State[state=\"fog\"];")
        << warnings;
    EXPECT_EQ(interpret("storage=2 text=\"[PASS1]\\nattribute1 = Group\"", warnings), "none ");
    EXPECT_EQ(warnings, "shader source shader: [PASS1] attribute1 is no attribute\n");
    EXPECT_EQ(interpret("storage=1 source=\"../secret.ini\"", warnings), "none ");
    EXPECT_EQ(interpret("storage=1 source=\"/etc/passwd\"", warnings), "none ");
    EXPECT_EQ(warnings, "shader source /etc/passwd: names no file at or below the current folder\n");
}

} // namespace Kel::Test
