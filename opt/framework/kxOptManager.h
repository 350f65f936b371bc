// The driver: runs an optimization script over a scene.
#pragma once

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxRunObserver.h"
#include "platform/sg/kxSceneInfo.h"

#include <vector>

namespace Kel::Opt
{

/// Runs a script: makes, configures, applies and reports each optimization that it names. The only place that runs one.
///
/// A host wires it (`kxManager::setup`), sets the script, and calls `apply` as often as it likes.
class kxOptManager : public kxBase
{
    KX_OBJECT(kxOptManager, kxBase)
    static void listFields(kxFields<kxOptManager>& fields);
    /// Loads the plug-ins that bring optimizations.
    static void userRegister();

    /// Words of the script.
    static const char optToken[];
    static const char optCountToken[];
    /// Script of a run that names none, in the current folder.
    static const char defaultScript[];

    kxSmartPointer<kxRegistry> _registry;
    kxSmartPointer<kxOptConfiguration> _configuration;
    kxSmartPointer<kxStatistics> _statistics;
    kxSmartPointer<kxNode> _root;
    kxStringRef _applicationPath{""};
    bool _noWrite = false;
    bool _stats = false;
    bool _hierarchyCheck = true;
    bool _verbose = true;

    kxOptManager();

    bool getStats() const { return _stats; }
    void setStats(bool stats) { _stats = stats; }
    bool getHierarchyCheck() const { return _hierarchyCheck; }
    void setHierarchyCheck(bool check) { _hierarchyCheck = check; }
    bool getNoWrite() const { return _noWrite; }
    void setNoWrite(bool noWrite) { _noWrite = noWrite; }
    void setApplicationPath(const char* path) { _applicationPath = path; }
    void setRoot(kxNode* root) { _root = root; }
    kxRegistry* getRegistry() const { return _registry; }
    void setRegistry(kxRegistry* registry) { _registry = registry; }

    /// Runs the script on one info, or on every info of the loaded file when `info` is null. False for a script that cannot be
    /// run and for a cancelled run; optimizations that fail do not make it false.
    bool apply(kxInfo* info);
    /// Runs the script on a graph, whose root it may replace.
    bool apply(kxSmartPointer<kxNode>& root);

    /// Loads a file through the optimizer service.
    bool loadFile(const char* path);
    /// Writes the whole loaded file, or nothing when `_noWrite` is set, which is a success.
    kxResult writeFile(const char* path);
    void updateOptList();

    /// The observer must live until it is removed or the manager goes. Not during a run.
    void addObserver(kxRunObserver* observer);
    void removeObserver(kxRunObserver* observer);

protected:
    ~kxOptManager() override;

private:
    struct StepResult;

    bool readStepCount(int section, int& stepCount);
    kxSmartPointer<kxOptConfiguration> createConfiguration(int section) const;
    StepResult runStep(kxRunStep& step, kxSmartPointer<kxOptBase>& optimization, kxOptBase* hierarchyCheck,
                       kxInfo* info);
    bool applyOptimization(kxOptBase* optimization, kxInfo* info);
    void runChecks(kxOptBase* hierarchyCheck, kxInfo* info);
    bool isCancelled() const;
    void printCancelled();

    std::vector<kxRunObserver*> m_observers;
};

} // namespace Kel::Opt
