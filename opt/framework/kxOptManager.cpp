// The driver's loop. Its texts are what hosts and scripts parse: they stay as they are, slips included.
#include "opt/framework/kxOptManager.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/items/kxItemInterface.h"
#include "opt/scene/kxRepairHierarchy.h"
#include "opt/scene/kxStatistics.h"
#include "opt/tracking/kxMessageInterface.h"
#include "platform/core/kxPlugInRepository.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTimer.h"

#include <algorithm>
#include <cstdio>

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptManager)

const char kxOptManager::optToken[] = "OPTIMIZATION";
const char kxOptManager::optCountToken[] = "optimizationCount";
const char kxOptManager::defaultScript[] = "Veltrin.ini";

namespace
{

constexpr const char* kAsterisks = "************************************************************";

} // namespace

struct kxOptManager::StepResult
{
    kxStepOutcome outcome;
    double seconds = 0;
};

void kxOptManager::listFields(kxFields<kxOptManager>& fields)
{
    constexpr uint32_t kShared = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK;
    fields.add(&kxOptManager::_registry, "_registry", "the script").setFlags(kShared);
    fields.add(&kxOptManager::_configuration, "_configuration", "policy of the run").setFlags(kShared);
    fields.add(&kxOptManager::_statistics, "_statistics", "statistics that run behind each optimization");
    fields.add(&kxOptManager::_root, "_root", "graph of a host that works without a file");
    fields.add(&kxOptManager::_applicationPath, "_applicationPath", "path of the host application");
    fields.add(&kxOptManager::_noWrite, "_noWrite", "write no file");
    fields.add(&kxOptManager::_stats, "_stats", "print statistics at the start and behind each optimization");
    fields.add(&kxOptManager::_hierarchyCheck, "_hierarchyCheck",
               "check the links between parents and children at the start and behind each optimization");
    fields.add(&kxOptManager::_verbose, "_verbose", "print the report");
}

void kxOptManager::userRegister()
{
    kxPlugInRepository::get().addDefaultRepository("Optimizations", "plugins/optimizations");
}

kxOptManager::kxOptManager() : _statistics(kxNew<kxStatistics>()) {}
kxOptManager::~kxOptManager() = default;

bool kxOptManager::apply(kxInfo* info)
{
    if (!_registry)
    {
        setVerbose();
        printf("\nThere is no registry file for the optimization\n");
        return false;
    }
    const int section = _registry->findSection("OPTIMIZE");
    if (section < 0)
    {
        setVerbose();
        printf("\nThere is no section in the registry file for the optimization\n");
        printf("Check the optimization script or your Veltrin.ini file\n");
        printf("(if no script is specified, you should have an Veltrin.ini in your current directory\n");
        return false;
    }
    configureFields(this, _registry, section, _optInterface);
    // A script that asks for statistics is what enables them, wherever it was loaded from; a silent run only leaves out
    // those of the driver.
    bool asksForStatistics = false;
    if (_stats && (_registry->getValue(section, "_stats", asksForStatistics) ||
                   _registry->getValue(section, "stats", asksForStatistics)))
        kxStatistics::enableStatistics();
    if (_verbose)
        setVerbose();
    else
    {
        _stats = false;
        setSilent();
    }
    int stepCount;
    if (!readStepCount(section, stepCount))
        return false;

    updateOptList();
    _configuration = createConfiguration(section);
    if (!_configuration)
        _configuration = kxNew<kxOptConfiguration>();
    const auto hierarchyCheck = kxNew<kxRepairHierarchy>();
    setupInterfaced(hierarchyCheck);
    if (_stats)
        setupInterfaced(_statistics);

    if (_optInterface)
        _optInterface->forgetRunData();
    const kxRun run{*this, info, stepCount};
    for (kxRunObserver* observer : m_observers)
        observer->beforeRun(run);
    runChecks(hierarchyCheck, info);
    bool completed = true;
    for (int number = 1; number <= stepCount && completed; ++number)
    {
        const int stepSection = _registry->findSection(kxFormat("%s%d", optToken, number));
        if (stepSection < 0)
            continue;
        kxRunStep step{number, stepCount, kxStringRef(), stepSection, nullptr};
        kxSmartPointer<kxOptBase> optimization;
        StepResult result = runStep(step, optimization, hierarchyCheck, info);
        printf("%s\n\n", kAsterisks);
        fflush(stdout);
        completed = !isCancelled();
        if (!completed && result.outcome == kxStepOutcome::FAILED)
            result.outcome = kxStepOutcome::CANCELLED;
        for (kxRunObserver* observer : m_observers)
            observer->afterStep(step, result.outcome, result.seconds);
    }
    if (!completed)
        printCancelled();
    else if (_messageInterface)
        _messageInterface->clearMessageList();
    for (kxRunObserver* observer : m_observers)
        observer->afterRun(run, completed);
    return completed;
}

bool kxOptManager::apply(kxSmartPointer<kxNode>& root)
{
    const auto info = kxNew<kxSceneInfo>();
    info->setSceneGraph(root);
    info->updateCameraList();
    info->updateTextureList();
    info->updateAnimationTime();
    const bool result = apply(info.get());
    root = info->getSceneGraph();
    return result;
}

bool kxOptManager::readStepCount(int section, int& stepCount)
{
    if (!_registry->getValue(section, optCountToken, stepCount))
    {
        printf("\nThere is no optimization count entry in the registry file\n");
        printf("you should have in you veltrin.ini\n");
        printf("[OPTIMIZE]\n");
        printf("optimizationCount = 0\n");
        return false;
    }
    if (stepCount < 0)
    {
        printf("The number of optimization is negative\n");
        return false;
    }
    return true;
}

// Null for a section that names no class of configurations.
kxSmartPointer<kxOptConfiguration> kxOptManager::createConfiguration(int section) const
{
    kxStringRef name;
    if (!_registry->getValue(section, kxOptBase::configurationToken, name))
        return nullptr;
    const kxMetaObject* type = kxMetaObject::find(name);
    if (!type || !type->isDerivedFrom(kxOptConfiguration::staticMetaObject()))
        return nullptr;
    return type->createInstanceRef<kxOptConfiguration>();
}

bool kxOptManager::applyOptimization(kxOptBase* optimization, kxInfo* info)
{
    return info ? optimization->applyInfo(info) : optimization->applyToInfos();
}

void kxOptManager::runChecks(kxOptBase* hierarchyCheck, kxInfo* info)
{
    if (_hierarchyCheck)
        applyOptimization(hierarchyCheck, info);
    if (_stats && _statistics)
    {
        _statistics->_level = LEVEL1;
        applyOptimization(_statistics, info);
    }
}

kxOptManager::StepResult kxOptManager::runStep(kxRunStep& step, kxSmartPointer<kxOptBase>& optimization,
                                               kxOptBase* hierarchyCheck, kxInfo* info)
{
    printf("%s\n", kAsterisks);
    if (!_registry->getValue(step.section, kxOptBase::nameToken, step.name, ""))
    {
        printf("The optimization %d has no name\n", step.number);
        printf("you should have in you veltrin.ini\n");
        printf("[OPTIMIZATION%d]\n", step.number);
        printf("name = optimizationName\n");
        return {kxStepOutcome::NO_NAME};
    }
    printf("optimization\t%-20s\t(%3d / %3d)\n", step.name.c_str(), step.number, step.stepCount);
    if (_optInterface)
        optimization = _optInterface->createOptBase(step.name);
    if (!optimization)
    {
        printf("\t\tskipped (the optimization name may be wrong)\n");
        return {kxStepOutcome::SKIPPED_UNKNOWN};
    }
    step.optimization = optimization;
    const kxSmartPointer<kxOptConfiguration> own = createConfiguration(step.section);
    optimization->setConfiguration(own ? own : _configuration);
    optimization->_optInterface = _optInterface;
    optimization->_itemInterface = _itemInterface;
    if (_logInterface)
        optimization->_logInterface = _logInterface;
    optimization->setRegistry(_registry);

    optimization->autoConfigure(step.section);
    if (!optimization->configure(step.section))
    {
        printf("\t\tnot configured\n");
        return {kxStepOutcome::NOT_CONFIGURED};
    }
    printf("\t\tconfigured\n");
    fflush(stdout);
    for (kxRunObserver* observer : m_observers)
        observer->beforeStep(step);
    kxTimer timer;
    timer.start();
    const bool succeeded = applyOptimization(optimization, info);
    if (!succeeded)
        printf("\t\tfailed\n");
    timer.stop();
    printf("\t\tcompleted in %.1f s\n", timer.getSeconds());
    runChecks(hierarchyCheck, info);
    return {succeeded ? kxStepOutcome::DONE : kxStepOutcome::FAILED, timer.getSeconds()};
}

bool kxOptManager::isCancelled() const
{
    return _optInterface && _optInterface->getOptCancelState();
}

void kxOptManager::printCancelled()
{
    printf("%s\n", kAsterisks);
    printf("*%29sCANCEL%23s*\n", "", "");
    printf("%s\n\n", kAsterisks);
}

bool kxOptManager::loadFile(const char* path)
{
    kxSmartPointer<kxSceneInfo> sceneInfo;
    return _optInterface && _optInterface->loadFile(path, sceneInfo);
}

kxResult kxOptManager::writeFile(const char* path)
{
    if (_noWrite)
        return kSuccess;
    return _optInterface ? _optInterface->writeFile(static_cast<kxInfo*>(nullptr), path, true) : kFailure;
}

void kxOptManager::updateOptList()
{
    if (_optInterface)
        _optInterface->updateOptList();
}

void kxOptManager::addObserver(kxRunObserver* observer)
{
    m_observers.push_back(observer);
}

void kxOptManager::removeObserver(kxRunObserver* observer)
{
    std::erase(m_observers, observer);
}

} // namespace Kel::Opt
