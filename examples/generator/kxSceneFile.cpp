// Writes a scene to a file of glTF 2.0.
//
// First the vertex data, pictures and keys are laid into one buffer, which is small beside the hierarchy; then the JSON
// is streamed. In a binary file the lengths in front of the JSON are known only afterwards and are put in then.
#include "kxGltfWriter.h"

#include <cstdio>
#include <filesystem>

namespace Kel::Examples
{

namespace
{

std::string percentEncoded(std::string_view name)
{
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : name)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (kPlain.find(character) != std::string_view::npos)
            encoded += character;
        else
            encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
    return encoded;
}

/// A file that takes its name only when it is whole.
class kxNewFile
{
public:
    explicit kxNewFile(const std::string& path)
        : m_path(path), m_temporary(path + ".part"), m_file(std::fopen(m_temporary.c_str(), "wb"))
    {
    }

    ~kxNewFile()
    {
        if (m_file == nullptr)
            return;
        std::fclose(m_file);
        std::remove(m_temporary.c_str());
    }

    kxNewFile(const kxNewFile&) = delete;
    kxNewFile& operator=(const kxNewFile&) = delete;

    std::FILE* file() const { return m_file; }

    bool write(const void* data, size_t byteCount) { return std::fwrite(data, 1, byteCount, m_file) == byteCount; }

    bool finish()
    {
        std::error_code failure;
        if (std::fclose(m_file) != 0)
            failure = std::make_error_code(std::errc::io_error);
        m_file = nullptr;
        if (!failure)
            std::filesystem::rename(m_temporary, m_path, failure);
        if (failure)
            std::remove(m_temporary.c_str());
        return !failure;
    }

private:
    std::string m_path;
    std::string m_temporary;
    std::FILE* m_file;
};

bool writeWords(kxNewFile& file, std::initializer_list<uint32_t> words)
{
    bool isWritten = true;
    for (const uint32_t word : words)
    {
        const uint8_t bytes[4] = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
                                  static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 24)};
        isWritten = file.write(bytes, 4) && isWritten;
    }
    return isWritten;
}

bool writeBinaryFile(const kxScene& scene, kxGltfLayout& layout, kxNewFile& file, std::string& reason)
{
    constexpr uint32_t kHeaderBytes = 12;
    constexpr uint32_t kChunkHeaderBytes = 8;
    std::vector<uint8_t>& data = layout.bytes;
    data.resize((data.size() + 3) / 4 * 4);
    bool isWritten = writeWords(file, {0, 0, 0, 0, 0});
    kxJsonStream json(file.file());
    writeGltf(scene, layout, {}, json);
    const std::string padding((4 - json.byteCount() % 4) % 4, ' ');
    const uint64_t jsonBytes = json.byteCount() + padding.size();
    const uint64_t dataChunkBytes = data.empty() ? 0 : kChunkHeaderBytes + data.size();
    const uint64_t fileBytes = kHeaderBytes + kChunkHeaderBytes + jsonBytes + dataChunkBytes;
    if (fileBytes > UINT32_MAX)
    {
        reason = "the scene needs more than the 4 GiB of a binary file";
        return false;
    }
    isWritten = json.flush() && isWritten && file.write(padding.data(), padding.size());
    if (!data.empty())
        isWritten = isWritten && writeWords(file, {static_cast<uint32_t>(data.size()), 0x004e4942}) &&
                    file.write(data.data(), data.size());
    isWritten = isWritten && std::fseek(file.file(), 0, SEEK_SET) == 0 &&
                writeWords(file, {0x46546c67, 2, static_cast<uint32_t>(fileBytes), static_cast<uint32_t>(jsonBytes),
                                  0x4e4f534a});
    return isWritten;
}

} // namespace

bool writeScene(const kxScene& scene, const std::string& path, std::string& error)
{
    const std::filesystem::path target(path);
    const bool isBinary = target.extension() == ".glb";
    if (!isBinary && target.extension() != ".gltf")
    {
        error = path + ": the name ends neither in .glb nor in .gltf";
        return false;
    }

    kxGltfLayout layout = layOut(scene);
    std::string reason = "cannot be written";
    kxNewFile file(path);
    bool isWritten = file.file() != nullptr;
    if (isWritten && isBinary)
    {
        isWritten = writeBinaryFile(scene, layout, file, reason) && file.finish();
    }
    else if (isWritten)
    {
        std::filesystem::path bufferPath(target);
        bufferPath.replace_extension(".bin");
        kxNewFile bufferFile(bufferPath.string());
        kxJsonStream json(file.file());
        writeGltf(scene, layout, percentEncoded(bufferPath.filename().string()), json);
        const std::vector<uint8_t>& data = layout.bytes;
        isWritten = json.flush() && bufferFile.file() != nullptr && bufferFile.write(data.data(), data.size()) &&
                    bufferFile.finish() && file.finish();
    }
    if (!isWritten)
        error = path + ": " + reason;
    return isWritten;
}

} // namespace Kel::Examples
