// What the tests of the glTF library share: a folder of their own, small scenes as text, and questions to written files.
#pragma once

#include "interop/gltf/kxGltfJson.h"
#include "interop/gltf/kxGltfUri.h"
#include "interop/gltf/libKXGltf.h"
#include "platform/core/kxFileFormat.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxResource.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxSceneInfo.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

namespace Kel::Gltf
{

using namespace Kel::Sg;

inline std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

/// A data URI of numbers, each as four bytes of a float, or of bytes.
inline std::string dataUri(const std::vector<uint8_t>& bytes)
{
    std::string uri = "data:application/octet-stream;base64,";
    encodeBase64(bytes.data(), bytes.size(), uri);
    return uri;
}
template <class T>
std::vector<uint8_t> bytesOf(const std::vector<T>& values)
{
    std::vector<uint8_t> bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// A scene of one triangle: three positions, then three indices of two bytes, then two bytes to fill up.
inline std::string triangleScene()
{
    std::vector<uint8_t> bytes = bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const std::vector<uint8_t> indices = bytesOf<uint16_t>({0, 1, 2, 0});
    bytes.insert(bytes.end(), indices.begin(), indices.end());
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"name":"n0","mesh":0}],)"
           R"("meshes":[{"name":"m0","primitives":[{"attributes":{"POSITION":0},"indices":1}]}],)"
           R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},)"
           R"({"bufferView":1,"componentType":5123,"count":3,"type":"SCALAR"}],)"
           R"("bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":6}],)"
           R"("buffers":[{"byteLength":44,"uri":")" +
           dataUri(bytes) + "\"}]}";
}

class GltfTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        libKXGltf_arkRegister();
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        m_folder = std::filesystem::path(KXOPT_BINARY_DIR) / "test-gltf" /
                   replaced(std::string(test->test_suite_name()) + "-" + test->name(), "/", "-");
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string pathOf(const std::string& name) const { return (m_folder / name).string(); }
    bool exists(const std::string& name) const { return std::filesystem::exists(m_folder / name); }
    void put(const std::string& name, const std::string& bytes) const
    {
        std::filesystem::create_directories((m_folder / name).parent_path());
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }
    std::string get(const std::string& name) const
    {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Loads a file of the folder; null when it was refused. The lines are in `m_errors` and `m_warnings` without the path.
    kxSmartPointer<kxDirectory> load(const std::string& name, bool allowOutside = false)
    {
        const auto options = kxNew<kxFileOptions>();
        options->_allowOutside = allowOutside;
        kxReportCollector reports;
        auto directory = kxResource::load(pathOf(name).c_str(), options);
        takeLines(reports);
        EXPECT_EQ(directory->isLoaded(), m_errors.empty());
        return directory->isLoaded() ? directory : nullptr;
    }
    kxSmartPointer<kxDirectory> loadText(const std::string& text)
    {
        put("scene.gltf", text);
        return load("scene.gltf");
    }
    bool save(kxDirectory& directory, const std::string& name, kxSmartPointer<kxFileOptions> options = nullptr)
    {
        if (!options)
            options = kxNew<kxFileOptions>();
        kxReportCollector reports;
        const kxSmartPointer<kxFileFormat> format = kxFileFormat::findWriter(pathOf(name).c_str());
        const bool done = format && format->write(directory, pathOf(name).c_str(), *options) == kSuccess;
        takeLines(reports);
        EXPECT_EQ(done, m_errors.empty());
        return done;
    }
    /// Parses a written text file for `at`.
    void open(const std::string& name)
    {
        std::string fault;
        ASSERT_TRUE(m_document.parseCopy(get(name), fault)) << fault;
    }
    void roundTrip(const std::string& text)
    {
        const auto directory = loadText(text);
        ASSERT_TRUE(directory) << m_errors;
        ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
        open("out.gltf");
    }
    /// Value at a place of the opened file as JSON text: at("nodes/0/name"); empty when there is none.
    std::string at(const std::string& place) const
    {
        const kxJsonValue* value = &m_document.getRoot();
        for (size_t begin = 0; begin <= place.size() && value;)
        {
            const size_t end = std::min(place.find('/', begin), place.size());
            const std::string step = place.substr(begin, end - begin);
            if (value->IsArray())
                value = std::stoul(step) < value->Size() ? &(*value)[static_cast<unsigned>(std::stoul(step))] : nullptr;
            else
                value = findMember(*value, step);
            begin = end + 1;
        }
        return value ? printValue(*value) : "";
    }
    size_t count(const std::string& list) const
    {
        const kxJsonValue* value = findMember(m_document.getRoot(), list);
        return value ? value->Size() : 0;
    }

    static kxSceneInfo* sceneOf(const kxDirectory& directory, uint32_t index = 0)
    {
        for (uint32_t i = 0; i < directory.getEntryCount(); ++i)
            if (auto* scene = kxCast<kxSceneInfo>(directory.getEntry(i)->getObject()); scene && index-- == 0)
                return scene;
        return nullptr;
    }
    static kxGroup* rootOf(const kxDirectory& directory, uint32_t scene = 0)
    {
        return kxCast<kxGroup>(sceneOf(directory, scene)->getSceneGraph());
    }
    /// First node of that name at or below another; depth first.
    static kxNode* find(kxNode* node, const char* name)
    {
        if (!node || node->getName() == kxStringRef(name))
            return node;
        const auto* group = kxCast<kxGroup>(node);
        for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
            if (kxNode* found = find(group->getChild(i), name))
                return found;
        return nullptr;
    }

    std::filesystem::path m_folder;
    std::string m_errors, m_warnings;

private:
    void takeLines(const kxReportCollector& reports)
    {
        m_errors = replaced(reports.m_errors, m_folder.string() + "/", "");
        m_warnings = replaced(reports.m_warnings, m_folder.string() + "/", "");
    }
    kxJsonDocument m_document;
};

} // namespace Kel::Gltf
