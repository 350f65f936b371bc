// Optimizations with one setting of each kind and with every outcome, for the tests of the framework.
#pragma once

#include "opt/framework/kxOptInterface.h"
#include "opt/scene/kxStatistics.h"

namespace Kel::Opt
{

/// One setting of each kind.
class kxTestSettings : public kxOptBase
{
    KX_OBJECT(kxTestSettings, kxOptBase)
    static void listFields(kxFields<kxTestSettings>& fields);

    int32_t _count = 7;
    STATISTICS_VERBOSE _level = LEVEL1;
    uint32_t _size = 8;
    float _ratio = 0.5f;
    bool _flag = false;
    kxStringRef _text{"none"};
    kxSmartPointer<kxMetaObject> _type;
    int32_t plain = 0; ///< a field without a leading underscore
    int64_t _wide = 1; ///< of a kind that scripts do not set
    kxVec3f _vector{0, 0, 0};
    kxSmartPointer<kxObject> _object;

    bool apply(kxSmartPointer<kxNode>& root) override;
    bool configure(int section) override;
};

/// Does as it is told.
class kxTestStep : public kxOptBase
{
    KX_OBJECT(kxTestStep, kxOptBase)
    static void listFields(kxFields<kxTestStep>& fields);

    bool _configures = true;
    bool _succeeds = true;
    bool _cancels = false;
    kxStringRef _newRoot; ///< name of a group to put in the root's place; "null" for no root at all

    bool apply(kxSmartPointer<kxNode>& root) override;
    bool configure(int section) override;
};

class kxTestConfiguration : public kxOptConfiguration
{
    KX_OBJECT(kxTestConfiguration, kxOptConfiguration)
};

/// Service of a host that can cancel.
class kxTestService : public kxOptInterface
{
    KX_OBJECT(kxTestService, kxOptInterface)

    bool getOptCancelState() override { return m_cancel; }
    void setOptCancelState(bool cancel) override { m_cancel = cancel; }

    bool m_cancel = false;
};

void registerTestOptimizations();

} // namespace Kel::Opt
