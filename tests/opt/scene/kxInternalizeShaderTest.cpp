#include "opt/scene/kxInternalizeShader.h"

#include "tests/support/kxExpectOptimized.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace Kel::Opt
{

using namespace Kel::Test;

namespace
{

std::string shaderWith(const char* factory)
{
    return std::string("InterpretedShader[shaderData=InterpretedShaderData[factory=") + factory + "]](Geometry{tri})";
}

} // namespace

TEST(kxInternalizeShader, TakesSourcesIn)
{
    const std::string folder = "internalizeShaderTest";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/wood.ini") << "[PASS1]";
    const std::string before = shaderWith("IniShaderFactory[source=\"internalizeShaderTest/wood.ini\" storage=1]");
    const std::string byName = shaderWith("IniShaderFactory[source=\"internalizeShaderTest/wood\"]");
    const std::string after = shaderWith("IniShaderFactory[source=\"internalizeShaderTest/wood.ini\" storage=2 "
                                         "text=\"[PASS1]\"]");
    const std::string afterByName =
        shaderWith("IniShaderFactory[source=\"internalizeShaderTest/wood\" storage=2 text=\"[PASS1]\"]");
    expectOptimized("kxInternalizeShader", {}, {"by path", before.c_str(), after.c_str(), PICTURE_CHANGES});
    expectOptimized("kxInternalizeShader", {}, {"by name", byName.c_str(), afterByName.c_str(), PICTURE_CHANGES});
    std::filesystem::remove_all(folder);

    const std::string other = shaderWith("ShaderFactory[source=\"x\"]");
    expectOptimized("kxInternalizeShader", {}, {"another factory", other.c_str(), kUnchanged});
    expectOptimized("kxInternalizeShader", {}, {"no data", "InterpretedShader(Geometry{tri})", kUnchanged});
}

// The source stays where it was when it cannot be had, and the step says why.
TEST(kxInternalizeShader, LeavesMissingSources)
{
    TestScene scene = parseScene(shaderWith("IniShaderFactory[source=\"missing/wood.ini\" storage=1]"));
    const std::string before = printScene(scene);
    const RunResult result = runOptimization(scene, "kxInternalizeShader", {});
    EXPECT_EQ(printScene(scene), before);
    EXPECT_EQ(result.refusals.at("source cannot be read"), 1);
    EXPECT_NE(result.errors.find("missing/wood.ini"), std::string::npos);
}

} // namespace Kel::Opt
