#include "opt/framework/kxOptInterface.h"

#include "opt/iterate/kxIterateDerived.h"
#include "opt/libKXOpt.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/core/kxKXBFile.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxResource.h"
#include "platform/sg/kxSceneInfo.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptInterface)

namespace
{

constexpr int kMaxNameTries = 10000;

bool canBeOpened(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file)
        std::fclose(file);
    return file != nullptr;
}

// The infos keep the names that the file gave them when the loaded directory is emptied. Other roots are let go: a graph that an
// optimization replaces must not live on as a second parent of what it held.
kxSmartPointer<kxDirectory> keepInfoEntries(const kxDirectory& loaded)
{
    auto kept = kxNew<kxDirectory>();
    for (uint32_t i = 0; i < loaded.getEntryCount(); ++i)
        if (auto* info = kxCast<kxInfo>(loaded.getEntry(i)->getObject()))
            kept->addEntry(info, loaded.getEntry(i)->getName());
    return kept;
}

} // namespace

void kxOptInterface::listFields(kxFields<kxOptInterface>& fields)
{
    fields.add(&kxOptInterface::_optimizationList, "_optimizationList", "every class of optimizations");
    fields.add(&kxOptInterface::_filePath, "_filePath", "path of the file loaded last");
    fields.add(&kxOptInterface::_file, "_file", "what was loaded");
    fields.add(&kxOptInterface::_disabledInfos, "_disabledInfos", "infos that runs leave alone");
}

kxOptInterface::~kxOptInterface() = default;

void kxOptInterface::setOptStatus(int, int) {}
void kxOptInterface::getOptStatus(int&, int&) {}
bool kxOptInterface::getOptCancelState()
{
    return false;
}
void kxOptInterface::setOptCancelState(bool) {}
void kxOptInterface::setOptStatusTitle(kxStringRef) {}
kxStringRef kxOptInterface::getOptStatusTitle()
{
    return kxStringRef();
}

void kxOptInterface::updateOptList()
{
    libKXOpt_arkRegister();
    const auto iterate = kxNew<kxIterateDerived>();
    for (kxMetaObject* type = iterate->begin(kxOptBase::staticMetaObject()); type; type = iterate->getNext())
        _optimizationList->append(type);
}

kxSmartPointer<kxOptBase> kxOptInterface::createOptBase(kxStringRef name)
{
    return createOptBase(kxCast<kxMetaObject>(_optimizationList->findByField("_name", &name)));
}

kxSmartPointer<kxOptBase> kxOptInterface::createOptBase(const kxStringObj* name)
{
    return createOptBase(name ? name->getString() : kxStringRef());
}

kxSmartPointer<kxOptBase> kxOptInterface::createOptBase(const kxMetaObject* type)
{
    kxSmartPointer<kxOptBase> optimization;
    if (type)
        optimization = type->createInstanceRef<kxOptBase>();
    setupInterfaced(optimization);
    return optimization;
}

bool kxOptInterface::loadFile(const char* path, kxSmartPointer<kxSceneInfo>& sceneInfo)
{
    _filePath = path;
    sceneInfo = nullptr;
    const kxSmartPointer<kxDirectory> directory = kxResource::load(path ? path : "", m_fileOptions);
    directory->waitUntilLoaded();
    if (!directory->isLoaded())
    {
        kxResource::unload(directory);
        return false;
    }
    sceneInfo = kxCast<kxSceneInfo>(kxResource::getInfoByType(directory, "kxSceneInfo"));
    const bool hasScene = sceneInfo;
    if (!hasScene)
        if (auto* graph = kxCast<kxNode>(kxResource::getByType(directory, "kxNode", "_sceneGraph")))
        {
            sceneInfo = kxNew<kxSceneInfo>();
            sceneInfo->setSceneGraph(graph);
        }
    if (!_file)
        _file = kxNew<kxFileInfo>();
    _file->reset();
    if (_lockInterface)
        _lockInterface->forgetCaches();
    _file->registerFile(directory);
    _file->_directory = keepInfoEntries(*directory);
    if (!hasScene)
        _file->addInfo(sceneInfo); // so that a run over the whole file reaches it and it is written
    kxResource::unload(directory);
    if (sceneInfo)
    {
        if (!sceneInfo->_cameraList)
            sceneInfo->updateCameraList();
        if (!sceneInfo->hasAnimationTime())
            sceneInfo->updateAnimationTime();
    }
    return true;
}

kxSmartPointer<kxSceneInfo> kxOptInterface::loadFile(const char* path)
{
    kxSmartPointer<kxSceneInfo> sceneInfo;
    loadFile(path, sceneInfo);
    return sceneInfo;
}

kxResult kxOptInterface::writeFile(kxObject* object, const char* path, bool withAllInfos)
{
    const auto file = kxNew<kxKXBFile>();
    file->_options = m_fileOptions;
    if (_file)
        _file->setupFile(object, file, withAllInfos);
    file->addObject(object, "root");
    const uint64_t written = file->write(path);
    file->makeEntriesConcrete();
    return written > 0 ? kSuccess : kFailure;
}

kxResult kxOptInterface::writeFile(kxInfo* info, const char* path, bool withAllInfos)
{
    return writeFile(static_cast<kxObject*>(info), path, withAllInfos);
}

bool kxOptInterface::isFolderWritable(const char* path) const
{
    std::error_code error;
    return path && std::filesystem::is_directory(path, error);
}

void kxOptInterface::makeNameUnique(const char* folder, kxSmartPointer<kxStringObj> name) const
{
    if (!name)
        return;
    const std::string full = name->str();
    const size_t dot = full.rfind('.');
    const std::string base = full.substr(0, dot);
    const std::string extension = dot == std::string::npos ? "" : full.substr(dot);
    const std::string prefix = folder ? std::string(folder) + "/" : "";
    std::string candidate;
    for (int i = 0; i < kMaxNameTries; ++i)
    {
        candidate = base + (i ? kxFormat("%04d", i) : "") + extension;
        if (!canBeOpened(prefix + candidate))
            break;
    }
    name->setString(candidate);
}

void kxOptInterface::addExternalReference(kxExternalDirEntry* entry)
{
    if (_file && entry)
        _file->addExternalReference(entry);
}

kxExternalDirEntry* kxOptInterface::getExternalEntry(kxObject* object) const
{
    return _file ? _file->getExternalEntry(object) : nullptr;
}

void kxOptInterface::removeExternalEntry(kxObject* object)
{
    if (_file)
        _file->removeExternalEntry(object);
}

void kxOptInterface::removeAllExternalEntry()
{
    if (_file)
        _file->removeAllExternalEntry();
}

void kxOptInterface::disableInfo(kxInfo* info)
{
    _disabledInfos->append(info);
}

void kxOptInterface::enableInfo(kxInfo* info)
{
    _disabledInfos->remove(info);
}

bool kxOptInterface::infoIsDisabled(kxInfo* info) const
{
    return _disabledInfos->contains(info);
}

kxObject* kxOptInterface::getRunData(kxStringRef key) const
{
    for (const auto& [known, object] : m_runData)
        if (known == key)
            return object;
    return nullptr;
}

void kxOptInterface::setRunData(kxStringRef key, kxObject* object)
{
    for (auto& [known, value] : m_runData)
        if (known == key)
        {
            value = object;
            return;
        }
    m_runData.emplace_back(key, object);
}

} // namespace Kel::Opt
