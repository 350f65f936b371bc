// Base of every optimization.
#pragma once

#include "opt/framework/kxBase.h"
#include "opt/framework/kxOptConfiguration.h"
#include "platform/core/kxRegistry.h"
#include "platform/sg/kxNode.h"

#include <string>
#include <vector>

namespace Kel::Core
{
class kxInfo;
}

namespace Kel::Opt
{

/// An optimization: made by class name, given the services and its section of the script, configured, applied once, released.
///
/// Its reflected fields are its settings; a script sets them by name. Everything that changes an object asks the lock
/// interface before, and says through `count` and `refuse` what it did and what it left alone.
class kxOptBase : public kxBase
{
    KX_OBJECT(kxOptBase, kxBase)
    static void listFields(kxFields<kxOptBase>& fields);

    /// Keys that every optimization's section may have.
    static const char nameToken[];
    static const char configurationToken[];

    kxSmartPointer<kxRegistry> _registry;
    kxSmartPointer<kxOptConfiguration> _configuration;

    kxOptBase();

    kxRegistry* getRegistry() const { return _registry; }
    void setRegistry(kxRegistry* registry) { _registry = registry; }
    kxOptConfiguration* getConfiguration() const { return _configuration; }
    void setConfiguration(kxOptConfiguration* configuration) { _configuration = configuration; }
    kxOptInterface* getInterface() const { return _optInterface; }
    void setInterface(kxOptInterface* service);
    /// Pool for the objects that this optimization makes; the default pool without a configuration.
    kxMemoryPool& getCreationMemoryPool() const;

    /// Applies to one info, by its type; false for a type that optimizations do not know.
    virtual bool applyInfo(kxInfo* info);
    /// Applies to a graph, whose root it may replace. `root` may be null.
    virtual bool apply(kxSmartPointer<kxNode>& root) = 0;
    /// True for a graph without segments and without dynamic nodes; otherwise the reason is printed.
    virtual bool canOptimize(kxNode* root);
    virtual bool canOptimize(kxInfo* info);
    /// Applies to every info of the loaded file that is not disabled and can be optimized; false when one of them failed.
    virtual bool applyToInfos();
    /// Reads what `autoConfigure` cannot; false refuses the settings.
    virtual bool configure(int section) = 0;
    /// Sets every reflected field that has a key in the section, and echoes what it set. Always true.
    virtual bool autoConfigure(int section);
    /// True for a value of a key that `configure` reads in a way of its own and the field of that name cannot take:
    /// `autoConfigure` passes over it without a word.
    virtual bool readsItself(kxStringRef key, std::string_view value) const;

    bool hasSegmentNode(kxNode* root) const;
    bool hasDynamicNode(kxNode* root) const;

    // What the structured report says about the step, in order of first mention.

    struct Counter
    {
        std::string name;
        int64_t value;
    };
    struct Refusal
    {
        std::string reason;
        int64_t count;
        std::vector<std::string> examples; ///< the first objects, each as type and name
    };
    static constexpr size_t kMaxExamples = 5;

    /// Adds to a counter: `count("attributes shared", n)`.
    void count(const char* what, int64_t number = 1);
    /// Notes that an object was left alone: `refuse("locked", object)`. `object` may be null.
    void refuse(const char* reason, const kxObject* object);
    /// Adds what another optimization, which did a part of the work, has counted and refused.
    void addReport(const kxOptBase& other);
    const std::vector<Counter>& getCounters() const { return m_counters; }
    const std::vector<Refusal>& getRefusals() const { return m_refusals; }

protected:
    ~kxOptBase() override;

private:
    bool hasSegmentOrDynamic(kxNode* root);
    Refusal& refusalOf(const std::string& reason);

    // The graph that the last check found to hold nothing that is refused, and the one that is not to be checked again.
    const kxNode* m_checkedGraph = nullptr;
    const kxNode* m_acceptedGraph = nullptr;

    std::vector<Counter> m_counters;
    std::vector<Refusal> m_refusals;
};

/// Applies an optimization to the graph of a scene and stores the root that it left. False when it cannot optimize the graph.
bool defaultApplySceneInfo(kxSceneInfo* info, kxOptBase* optimization);
/// Applies an optimization to the graphs of all skins.
bool defaultApplyAnimationDatabase(kxAnimationDatabase* database, kxOptBase* optimization);

/// Sets the reflected fields of `object` from a section; what `autoConfigure` does, for objects that are no optimizations.
/// Echoes go through `service`, which may be null.
void configureFields(kxObject* object, const kxRegistry* registry, int section, kxOptInterface* service);

} // namespace Kel::Opt
