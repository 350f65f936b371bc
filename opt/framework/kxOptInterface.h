// The service that the driver and the optimizations of a run share.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/core/kxFileInfo.h"
#include "platform/core/kxFileOptions.h"
#include "platform/core/kxInfo.h"
#include "platform/core/kxStringObj.h"

namespace Kel::Opt
{

/// Knows the optimizations, the loaded file and the infos that shall be left alone. A host derives from it to show progress and
/// to cancel.
class kxOptInterface : public kxInterfaced
{
    KX_OBJECT(kxOptInterface, kxInterfaced)
    static void listFields(kxFields<kxOptInterface>& fields);

    kxSmartPointer<kxMetaObjectList> _optimizationList = kxNew<kxMetaObjectList>();
    kxStringRef _filePath{""};
    kxSmartPointer<kxFileInfo> _file;
    kxSmartPointer<kxInfoList> _disabledInfos = kxNew<kxInfoList>();

    // Hooks for hosts.

    /// Progress of the optimization that runs.
    virtual void setOptStatus(int done, int total);
    virtual void getOptStatus(int& done, int& total);
    /// True asks the run to stop; polled by the driver behind each optimization and by walks.
    virtual bool getOptCancelState();
    virtual void setOptCancelState(bool cancel);
    virtual void setOptStatusTitle(kxStringRef title);
    virtual kxStringRef getOptStatusTitle();

    // Optimizations by name.

    /// Registers the library's classes and appends every class of optimizations to `_optimizationList`. Appends them again
    /// when called again: look-ups take the first match, and hosts hold indices into the list.
    void updateOptList();
    /// A new optimization with this service's references; null for a name that is not listed.
    kxSmartPointer<kxOptBase> createOptBase(kxStringRef name);
    kxSmartPointer<kxOptBase> createOptBase(const kxStringObj* name);
    kxSmartPointer<kxOptBase> createOptBase(const kxMetaObject* type);

    // Files.

    /// Loads a file in place of what was loaded. `sceneInfo` becomes its first scene, one made for an object "_sceneGraph" when
    /// it has none, or null. False when the file could not be loaded; the reason has been reported.
    bool loadFile(const char* path, kxSmartPointer<kxSceneInfo>& sceneInfo);
    kxSmartPointer<kxSceneInfo> loadFile(const char* path);
    /// Writes `object`, and with `withAllInfos` or a null object everything that was loaded, in the format that the path's
    /// extension names.
    kxResult writeFile(kxObject* object, const char* path, bool withAllInfos);
    kxResult writeFile(kxInfo* info, const char* path, bool withAllInfos);
    /// Settings for loading and writing; null for the defaults.
    void setFileOptions(kxFileOptions* options) { m_fileOptions = options; }
    kxFileOptions* getFileOptions() const { return m_fileOptions; }

    /// True when `path` names an existing folder. In spite of the name it tests no permission. False for null.
    bool isFolderWritable(const char* path) const;
    /// Changes `name` to one that no file in `folder` has: NAME.EXT, else NAME0001.EXT and so on.
    void makeNameUnique(const char* folder, kxSmartPointer<kxStringObj> name) const;

    // What the loaded file refers to in other files.

    void addExternalReference(kxExternalDirEntry* entry);
    kxExternalDirEntry* getExternalEntry(kxObject* object) const;
    void removeExternalEntry(kxObject* object);
    void removeAllExternalEntry();

    // Infos that runs leave alone.

    void disableInfo(kxInfo* info);
    void enableInfo(kxInfo* info);
    bool infoIsDisabled(kxInfo* info) const;

    // What steps of one run leave for later ones.

    /// Object that was left under a key since the run began; null when there is none.
    kxObject* getRunData(kxStringRef key) const;
    void setRunData(kxStringRef key, kxObject* object);
    /// Called by the driver when a run begins.
    void forgetRunData() { m_runData.clear(); }

    /// Infos of the loaded file, in order; null when nothing was loaded.
    kxInfoList* getInfos() const { return _file ? _file->_infoList.get() : nullptr; }

protected:
    ~kxOptInterface() override;

private:
    kxSmartPointer<kxFileOptions> m_fileOptions;
    std::vector<std::pair<kxStringRef, kxSmartPointer<kxObject>>> m_runData;
};

} // namespace Kel::Opt
