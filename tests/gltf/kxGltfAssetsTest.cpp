// Real scenes, where they are at hand: all of them load, are written both ways, and come back with the same counts.
#include "tests/gltf/kxGltfTestTools.h"
#include "tests/support/kxTestAssets.h"

#include <gmock/gmock.h>

namespace Kel::Gltf
{

namespace
{

class GltfAssets : public GltfTest
{
protected:
    /// Lengths of the lists of a written text file.
    std::map<std::string, size_t> counts() const
    {
        std::map<std::string, size_t> counts;
        for (const char* list :
             {"scenes", "nodes", "meshes", "materials", "textures", "images", "cameras", "skins", "animations"})
            counts[list] = count(list);
        return counts;
    }
    void loadWriteLoad(const std::string& path)
    {
        SCOPED_TRACE(path);
        const auto options = kxNew<kxFileOptions>();
        kxSmartPointer<kxDirectory> directory;
        {
            kxReportCollector reports;
            directory = kxResource::load(path.c_str(), options);
            ASSERT_TRUE(directory->isLoaded()) << reports.m_errors;
        }
        std::map<std::string, size_t> first;
        for (const char* name : {"out.gltf", "again.gltf"})
        {
            ASSERT_TRUE(save(*directory, name)) << m_errors;
            open(name);
            if (first.empty())
                first = counts();
            EXPECT_EQ(counts(), first);
            ASSERT_TRUE(save(*directory, "out.glb")) << m_errors;
            directory = load("out.glb");
            ASSERT_TRUE(directory) << m_errors;
        }
        const std::string bytes = get("out.glb");
        ASSERT_TRUE(save(*directory, "out.glb"));
        EXPECT_TRUE(get("out.glb") == bytes) << "written twice, and the bytes differ";
    }
};

TEST_F(GltfAssets, ScenesComeBack)
{
    KX_NEEDS_ASSETS();
    for (const char* folder : {"scenes", "valid"})
        for (const std::string& path : Kel::Test::listSceneFiles(folder))
            if (path.find("draco") == std::string::npos && path.find("meshopt") == std::string::npos)
                loadWriteLoad(path);
}

TEST_F(GltfAssets, BrokenFilesAreSurvived)
{
    KX_NEEDS_ASSETS();
    size_t refused = 0, loaded = 0;
    for (const std::string& path : Kel::Test::listSceneFiles("malformed"))
    {
        SCOPED_TRACE(path);
        const auto options = kxNew<kxFileOptions>();
        kxReportCollector reports;
        const auto directory = kxResource::load(path.c_str(), options);
        const auto lines = std::count(reports.m_errors.begin(), reports.m_errors.end(), '\n');
        EXPECT_EQ(lines, directory->isLoaded() ? 0 : 1) << reports.m_errors;
        (directory->isLoaded() ? loaded : refused) += 1;
        if (!directory->isLoaded())
            continue;
        EXPECT_TRUE(save(*directory, "out.glb")) << m_errors;
        EXPECT_TRUE(load("out.glb")) << m_errors;
    }
    EXPECT_GT(refused, 20u);
    EXPECT_GT(loaded, 60u);
}

} // namespace

} // namespace Kel::Gltf
