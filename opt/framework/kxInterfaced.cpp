#include "opt/framework/kxInterfaced.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemInterface.h"
#include "opt/iterate/kxIterateField.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"

#include <algorithm>
#include <cstdarg>
#include <unordered_map>

namespace Kel::Opt
{

KX_IMPLEMENT(kxInterfaced)

namespace
{

/// A service's field in one class and the field of the same name in another.
struct Wire
{
    const kxObjectField* source;
    const kxObjectField* target;
};

bool isService(const kxMetaObject* type)
{
    const kxMetaObject* services[] = {kxOptInterface::staticMetaObject(),      kxItemInterface::staticMetaObject(),
                                      kxListenerInterface::staticMetaObject(), kxMessageInterface::staticMetaObject(),
                                      kxLockInterface::staticMetaObject(),     kxLogInterface::staticMetaObject()};
    return type && std::any_of(std::begin(services), std::end(services),
                               [&](const kxMetaObject* service) { return type->isDerivedFrom(service); });
}

// Items are made and wired for each call, so the pairs are found once for two classes.
const std::vector<Wire>& findWires(const kxMetaObject* source, const kxMetaObject* target)
{
    static uint32_t generation = 0;
    static std::unordered_map<uint64_t, std::vector<Wire>> known;
    if (generation != kxMetaObject::getGeneration())
    {
        generation = kxMetaObject::getGeneration();
        known.clear();
    }
    const auto [at, isNew] = known.try_emplace(uint64_t(source->getIndex()) << 32 | target->getIndex());
    if (isNew)
    {
        const auto iterate = kxNew<kxIterateField>();
        for (kxMetaField* field = iterate->beginOfType(source, kxObjectField::staticMetaObject()); field;
             field = iterate->getNextOfType(kxObjectField::staticMetaObject()))
        {
            if (!isService(field->getReferencedType()))
                continue;
            if (const auto* same = kxCast<kxObjectField>(target->findField(field->getName())))
                at->second.push_back({static_cast<kxObjectField*>(field), same});
        }
    }
    return at->second;
}

} // namespace

void kxInterfaced::listFields(kxFields<kxInterfaced>& fields)
{
    // Services belong to the run and not to the object: neither files nor walks over what an object holds follow them.
    constexpr uint32_t kService = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK;
    fields.add(&kxInterfaced::_optInterface, "_optInterface", "optimizer service of the run").setFlags(kService);
    fields.add(&kxInterfaced::_itemInterface, "_itemInterface", "items by type").setFlags(kService);
    fields.add(&kxInterfaced::_listenerInterface, "_listenerInterface", "who hears of changes").setFlags(kService);
    fields.add(&kxInterfaced::_messageInterface, "_messageInterface", "events that wait").setFlags(kService);
    fields.add(&kxInterfaced::_lockInterface, "_lockInterface", "what must be left alone").setFlags(kService);
    fields.add(&kxInterfaced::_logInterface, "_logInterface", "where text goes").setFlags(kService);
}

kxInterfaced::kxInterfaced() = default;
kxInterfaced::~kxInterfaced() = default;

int kxInterfaced::printf(const char* format, ...)
{
    if (!_logInterface)
        return -1;
    va_list arguments;
    va_start(arguments, format);
    const int result = _logInterface->vprintf(format, arguments);
    va_end(arguments);
    return result;
}

bool kxInterfaced::fflush(void* stream)
{
    return _logInterface && _logInterface->fflush(stream);
}

void kxInterfaced::setVerbose()
{
    if (_logInterface)
        _logInterface->_verbose = true;
}

void kxInterfaced::setSilent()
{
    if (_logInterface)
        _logInterface->_verbose = false;
}

void kxInterfaced::setupInterfaced(kxInterfaced* target)
{
    if (!target)
        return;
    for (const Wire& wire : findWires(getMetaObject(), target->getMetaObject()))
    {
        kxObject* service = wire.source->getObject(wire.source->getAddress(static_cast<const kxObject*>(this)));
        if (wire.target->accepts(service))
            wire.target->setObject(wire.target->getAddress(target), service);
    }
}

void kxInterfaced::dropInterfaces()
{
    _optInterface = nullptr;
    _itemInterface = nullptr;
    _listenerInterface = nullptr;
    _messageInterface = nullptr;
    _lockInterface = nullptr;
    _logInterface = nullptr;
}

} // namespace Kel::Opt
