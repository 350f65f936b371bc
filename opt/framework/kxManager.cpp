#include "opt/framework/kxManager.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemInterface.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"

#include <algorithm>

namespace Kel::Opt
{

KX_IMPLEMENT(kxManager)
KX_IMPLEMENT(kxDefaultManager)

kxManager::kxManager() = default;

kxManager::~kxManager()
{
    for (kxInterfaced* service : m_wired)
        service->dropInterfaces();
}

void kxManager::setup(kxInterfaced* target)
{
    setupInterfaced(target);
}

void kxManager::setupServices()
{
    kxInterfaced* services[] = {_optInterface, _itemInterface, _listenerInterface, _messageInterface, _lockInterface};
    for (kxInterfaced* service : services)
    {
        if (!service)
            continue;
        setup(service);
        if (std::find(m_wired.begin(), m_wired.end(), service) == m_wired.end())
            m_wired.emplace_back(service);
    }
}

kxDefaultManager::kxDefaultManager() : kxDefaultManager(kxNew<kxOptInterface>()) {}

kxDefaultManager::kxDefaultManager(kxOptInterface* optInterface)
{
    _optInterface = optInterface;
    _itemInterface = kxNew<kxItemInterface>();
    _listenerInterface = kxNew<kxListenerInterface>();
    _messageInterface = kxNew<kxMessageInterface>();
    _lockInterface = kxNew<kxLockInterface>();
    _logInterface = kxNew<kxLogInterface>();
    setupServices();
}

} // namespace Kel::Opt
