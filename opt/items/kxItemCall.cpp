#include "opt/items/kxItemCall.h"

namespace Kel::Opt
{

kxItemCall::kxItemCall(kxInterfaced* client, kxStringRef interfaceName, const kxObject* object, Missing missing)
    : m_client(client), m_input(kxNew<kxParameterSet>())
{
    if (client->_itemInterface && object)
        m_item = client->_itemInterface->createItemBase(interfaceName, object->getMetaObject());
    if (m_item || missing == SILENT)
        return;
    const char* type = object ? object->getTypeName() : "";
    if (missing == INTERFACE)
        client->printf("the interface %s does not exist for this object (%s)\n", interfaceName.c_str(), type);
    else if (missing == TRAVERSAL)
        client->printf("the traversal %s does not exist for this object (%s)\n", interfaceName.c_str(), type);
    else
        client->printf("there is no comparison %s registered for %s", interfaceName.c_str(), type);
}

bool kxItemCall::tryRun(kxStringRef functionName)
{
    m_result = m_item ? m_item->apply(functionName, m_input) : nullptr;
    return kxParameterSetWrapper(m_result).hasSucceeded();
}

bool kxItemCall::run(kxStringRef functionName)
{
    if (tryRun(functionName))
        return true;
    m_client->printf("%s", getErrorMessage());
    return false;
}

kxSmartPointer<kxObjectList> kxItemCall::getList(kxStringRef name) const
{
    kxSmartPointer<kxObjectList> list;
    get(name, list);
    return list;
}

} // namespace Kel::Opt
