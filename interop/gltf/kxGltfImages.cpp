#include "interop/gltf/kxGltfImages.h"

#include "interop/gltf/kxGltfImageType.h"
#include "interop/gltf/kxGltfUri.h"
#include "platform/core/kxAtomicFile.h"
#include "platform/core/kxMappedFile.h"

#include <cstring>
#include <filesystem>

namespace Kel::Gltf
{

namespace
{

bool isSame(const kxMemoryBlock& a, const uint8_t* bytes, uint64_t byteCount)
{
    return a.getSize() == byteCount && (byteCount == 0 || std::memcmp(a.getData(), bytes, byteCount) == 0);
}

} // namespace

std::string labelOf(const kxImage& image)
{
    return image.getFileName().isEmpty() ? std::string("image without a name") : image.getFileName().str();
}

kxGltfImages::kxGltfImages(kxGltfFaults& faults, kxGltfData& data, bool isBinary)
    : m_faults(faults), m_data(data), m_isBinary(isBinary), m_folder(folderOf(faults.getPath()))
{
}

kxGltfImages::~kxGltfImages() = default;

const kxImageFileForm& kxGltfImages::formOf(const kxImage& image)
{
    const auto [at, isNew] = m_forms.try_emplace(&image);
    kxImageFileForm& form = at->second;
    if (!isNew)
        return form;
    if (image._encoded)
    {
        form.bytes = image._encoded;
        form.mimeType = image._mimeType;
        if (form.mimeType.isEmpty())
            form.mimeType = detectImageType(form.bytes->getData(), form.bytes->getSize());
    }
    else if (image._pixels && !kxImageCodec::encodeForFile(const_cast<kxImage&>(image), false, form))
        m_faults.refuseReported();
    else if (form.bytes && !form.isExact)
        m_faults.warn("no kind of image file holds its format; the file shows it as it looks, .kxb keeps the format",
                      labelOf(image));
    return form;
}

const kxImageFileForm& kxGltfImages::fallbackOf(const kxImage& image)
{
    const auto [at, isNew] = m_fallbacks.try_emplace(&image);
    if (isNew && !kxImageCodec::encodeForFile(const_cast<kxImage&>(image), true, at->second))
        m_faults.refuseReported();
    return at->second;
}

bool kxGltfImages::writeSource(kxJsonText& json, const kxImage& image, bool isFallback)
{
    const kxImageFileForm& form = isFallback ? fallbackOf(image) : formOf(image);
    if (m_faults.isRefused())
        return false;
    const bool hasFile = !image._uri.isEmpty();
    if (!form.bytes)
    {
        if (hasFile)
            json.member("uri", image._uri.view());
        else
            m_faults.warn("image without bytes is written without a source", image._name.str());
    }
    else if (hasFile && !m_isBinary)
    {
        std::string uri;
        if (!placeFile(image, form, uri))
            return false;
        json.member("uri", uri);
    }
    else if (m_isInText && !m_isBinary)
    {
        std::string uri = "data:" + form.mimeType.str() + ";base64,";
        encodeBase64(form.bytes->getData(), form.bytes->getSize(), uri);
        json.member("uri", uri);
    }
    else
        json.member("bufferView", uint64_t(m_data.addImage(form.bytes)));
    if (!form.mimeType.isEmpty())
        json.member("mimeType", form.mimeType.view());
    return true;
}

bool kxGltfImages::placeFile(const kxImage& image, const kxImageFileForm& form, std::string& uri)
{
    namespace fs = std::filesystem;
    const kxMemoryBlock& bytes = *form.bytes;
    std::string path;
    uri = image._uri.str();
    // Files are written below the scene's folder only, wherever they came from.
    if (classifyUri(uri, path) != kxUriKind::INSIDE)
        path = path.substr(path.find_last_of("/\\") + 1);
    const size_t nameAt = path.rfind('/') + 1; // 0 when there is no slash
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot <= nameAt)
        dot = path.size();
    std::string suffix = path.substr(dot);
    if (!image._encoded)
        suffix = kxFormat(".%s", form.extension.c_str()); // encoded anew, maybe as another kind of file
    const std::string stem = path.substr(0, dot);

    for (unsigned attempt = 0;; ++attempt)
    {
        const std::string candidate = stem + (attempt ? kxFormat("_%u", attempt) : std::string()) + suffix;
        const auto taken = m_taken.find(candidate);
        if (taken != m_taken.end())
        {
            if (!isSame(bytes, taken->second->getData(), taken->second->getSize()))
                continue;
            uri = encodePercent(candidate);
            return true;
        }
        const std::string target = m_folder + candidate;
        std::string fault;
        std::error_code systemError;
        if (fs::exists(target, systemError))
        {
            const auto existing = kxMappedFile::open(target.c_str(), &fault);
            if (!existing || !isSame(bytes, existing->getData(), existing->getSize()))
            {
                m_faults.warn("image file exists with other content; the image is written under another name",
                              candidate);
                continue;
            }
        }
        else
        {
            if (nameAt > 0)
                fs::create_directories(m_folder + path.substr(0, nameAt), systemError);
            auto& file = m_files.emplace_back(std::make_unique<kxAtomicFile>());
            if (!file->open(target.c_str()) || !file->write(bytes.getData(), bytes.getSize()))
                return m_faults.refuseReported();
        }
        m_taken.emplace(candidate, form.bytes.get());
        // The URI stays as the file had it while it says the same.
        if (decodePercent(uri) != candidate)
            uri = encodePercent(candidate);
        return true;
    }
}

bool kxGltfImages::commit()
{
    for (const auto& file : m_files)
        if (!file->commit())
            return m_faults.refuseReported();
    m_files.clear();
    return true;
}

} // namespace Kel::Gltf
