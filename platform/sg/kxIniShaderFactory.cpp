#include "platform/sg/kxIniShaderFactory.h"

#include "platform/core/kxMappedFile.h"
#include "platform/core/kxRegistry.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxTextScene.h"

#include <filesystem>

namespace Kel::Sg
{

KX_IMPLEMENT(kxIniShaderFactory)

void kxIniShaderFactory::listFields(kxFields<kxIniShaderFactory>& fields)
{
    fields.add(&kxIniShaderFactory::_storage, "_storage",
               "where the shader's source is kept: 0 by name, 1 by path, 2 within the scene");
    fields.add(&kxIniShaderFactory::_text, "_text", "the source, when kept within the scene");
}

void kxIniShaderFactory::setStorage(int32_t storage)
{
    if (storage == _storage)
        return;
    m_formerStorage = _storage;
    _storage = storage;
}

bool kxIniShaderFactory::store()
{
    if (_storage != kInScene || !_text.isEmpty())
        return true;
    if (readSource(m_formerStorage, _text))
        return true;
    _storage = m_formerStorage;
    return false;
}

bool kxIniShaderFactory::readSource(int32_t storage, kxStringRef& text) const
{
    if (storage == kInScene)
    {
        text = _text;
        return true;
    }
    const std::string path = _source.str() + (storage == kByName ? ".ini" : "");
    auto warn = [&](const char* what)
    {
        kxReport::warning("shader source %s: %s", path.c_str(), what);
        return false;
    };
    std::error_code fault;
    const std::filesystem::path here = std::filesystem::canonical(".", fault);
    const std::filesystem::path file = std::filesystem::weakly_canonical(here / path, fault);
    if (fault || _source.isEmpty() || file.lexically_relative(here).string().substr(0, 2) == "..")
        return warn("names no file at or below the current folder");
    std::string reason;
    const kxSmartPointer<kxMappedFile> mapped = kxMappedFile::open(file.c_str(), &reason);
    if (!mapped)
        return warn(reason.c_str());
    if (mapped->getSize() > kMaxTextBytes)
        return warn("is too large for a shader");
    text = kxStringRef(std::string_view(reinterpret_cast<const char*>(mapped->getData()), mapped->getSize()));
    return true;
}

bool kxIniShaderFactory::makePasses(kxShaderPassList& passes) const
{
    kxStringRef text;
    if (!readSource(_storage, text))
        return false;
    const std::string name = _source.isEmpty() ? std::string("shader") : _source.str();
    const auto registry = kxNew<kxRegistry>();
    registry->loadText(text.view(), name.c_str());
    const auto made = kxNew<kxShaderPassList>();
    for (uint32_t number = 1;; ++number)
    {
        const int section = registry->findSection(kxStringRef(kxFormat("PASS%u", number).c_str()));
        if (section < 0)
            break;
        const auto pass = kxNew<kxShaderPass>();
        for (uint32_t i = 1;; ++i)
        {
            const kxStringRef key(kxFormat("attribute%u", i).c_str());
            kxStringRef value;
            if (!registry->getValue(section, key, value))
                break;
            kxSmartPointer<kxObject> object;
            std::string fault;
            if (!kxTextScene::parseObject(value.view(), object, nullptr, fault))
                fault = "is no attribute: " + fault;
            else if (auto* attr = kxCast<kxAttr>(object.get()))
                pass->_attrs->append(attr);
            else
                fault = "is no attribute";
            if (!fault.empty())
            {
                kxReport::warning("shader source %s: [PASS%u] %s %s", name.c_str(), number, key.c_str(), fault.c_str());
                return false;
            }
        }
        made->append(pass);
    }
    if (made->isEmpty())
    {
        kxReport::warning("shader source %s: has no section [PASS1]", name.c_str());
        return false;
    }
    passes.append(*made);
    return true;
}

} // namespace Kel::Sg
