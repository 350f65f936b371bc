// Base of everything that uses the shared services of a run.
#pragma once

#include "opt/framework/kxOptNames.h"

namespace Kel::Opt
{

/// An object that knows the services of a run and prints through them. Any of the references may be null; what would use the
/// missing service does nothing then.
class kxInterfaced : public kxObject
{
    KX_OBJECT(kxInterfaced, kxObject)
    static void listFields(kxFields<kxInterfaced>& fields);

    kxSmartPointer<kxOptInterface> _optInterface;
    kxSmartPointer<kxItemInterface> _itemInterface;
    kxSmartPointer<kxListenerInterface> _listenerInterface;
    kxSmartPointer<kxMessageInterface> _messageInterface;
    kxSmartPointer<kxLockInterface> _lockInterface;
    kxSmartPointer<kxLogInterface> _logInterface;

    kxInterfaced();

    /// Prints through the log interface; -1 when there is none or when it is silent.
    [[gnu::format(printf, 2, 3)]] virtual int printf(const char* format, ...);
    /// Flushes a `FILE*` through the log interface; true when that worked.
    virtual bool fflush(void* stream);
    virtual void setVerbose();
    virtual void setSilent();

protected:
    ~kxInterfaced() override;

    /// Gives `target` this object's services: every reference to one that stands in a field which both have by the same name,
    /// null ones included.
    void setupInterfaced(kxInterfaced* target);
    /// Lets go of all six.
    void dropInterfaces();

private:
    friend class kxManager;
};

} // namespace Kel::Opt
