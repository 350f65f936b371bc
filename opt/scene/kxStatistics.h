// Counts what a scene graph holds.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

/// How much the statistics print.
enum STATISTICS_VERBOSE : int32_t
{
    LEVEL1 = 1, ///< one line for each type
    LEVEL2 = 2  ///< also one for each instance
};
const kxMetaEnum& kxMetaEnumOf(STATISTICS_VERBOSE);

/// What was met of one node type.
class kxGenericNodeStatistics : public kxObject
{
    KX_OBJECT(kxGenericNodeStatistics, kxObject)
    static void listFields(kxFields<kxGenericNodeStatistics>& fields);

    kxSmartPointer<kxMetaObject> _nodeType;
    kxSmartPointer<kxNonRefCountedNodeList> _instanceList = kxNew<kxNonRefCountedNodeList>();
    int32_t _instance = 0;
    float _depth = 0;

    void appendNode(const kxNode* node, int depth);
    void reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const;
};

/// What was met of one attribute type.
class kxGenericAttrStatistics : public kxObject
{
    KX_OBJECT(kxGenericAttrStatistics, kxObject)
    static void listFields(kxFields<kxGenericAttrStatistics>& fields);

    kxSmartPointer<kxMetaObject> _attrType;
    kxSmartPointer<kxNonRefCountedAttrList> _instanceList = kxNew<kxNonRefCountedAttrList>();
    int32_t _instance = 0;
    float _depth = 0;

    void appendAttr(const kxAttr* attr, const kxNode* owner, int depth);
    void reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const;
};

KX_OBJECT_LIST(kxGenericNodeStatisticsList, kxGenericNodeStatistics)
KX_OBJECT_LIST(kxGenericAttrStatisticsList, kxGenericAttrStatistics)

/// Node statistics by type, sorted by the type's identity.
class kxAllNodeStatistics : public kxObject
{
    KX_OBJECT(kxAllNodeStatistics, kxObject)
    static void listFields(kxFields<kxAllNodeStatistics>& fields);

    kxSmartPointer<kxGenericNodeStatisticsList> _nodeStatisticsList = kxNew<kxGenericNodeStatisticsList>();

    /// Entry of an exact type, made where there is none.
    kxGenericNodeStatistics* getEntry(kxMetaObject* nodeType);
    void appendNode(const kxNode* node, int depth);
    void reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const;

private:
    uint32_t m_last = 0;
};

/// Attribute statistics by type, sorted by the type's identity.
class kxAllAttrStatistics : public kxObject
{
    KX_OBJECT(kxAllAttrStatistics, kxObject)
    static void listFields(kxFields<kxAllAttrStatistics>& fields);

    kxSmartPointer<kxGenericAttrStatisticsList> _attrStatisticsList = kxNew<kxGenericAttrStatisticsList>();

    /// Entry of an exact type, made where there is none.
    kxGenericAttrStatistics* getEntry(kxMetaObject* attrType);
    void appendAttr(const kxAttr* attr, const kxNode* owner, int depth);
    void reset();
    void reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const;

private:
    uint32_t m_last = 0;
};

/// Prints, for each type of nodes and attributes, how many instances the graph holds, how often they are used and how deep they
/// lie. Changes nothing. Works once it was enabled, since its counters lie in every node.
class kxStatistics : public kxOptBase
{
    KX_OBJECT(kxStatistics, kxOptBase)
    static void listFields(kxFields<kxStatistics>& fields);
    /// Enables the statistics when the default script asks for them.
    static void userRegister();

    kxSmartPointer<kxAllNodeStatistics> _nodeStatistics = kxNew<kxAllNodeStatistics>();
    kxSmartPointer<kxAllAttrStatistics> _attrStatistics = kxNew<kxAllAttrStatistics>();
    STATISTICS_VERBOSE _level = LEVEL1;

    /// Adds the counters to nodes and attributes, for the rest of the process.
    static void enableStatistics();
    static bool isEnabled();

    bool apply(kxSmartPointer<kxNode>& root) override;
    bool configure(int section) override;

    /// Counts a graph whose root lies at a depth, once for each path. The slip in the name is the one that hosts call.
    void createStatitics(const kxNode* node, int depth);
    void reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const;
};

} // namespace Kel::Opt
