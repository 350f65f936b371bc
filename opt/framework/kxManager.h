// The services of one run and their wiring.
#pragma once

#include "opt/framework/kxInterfaced.h"

#include <vector>

namespace Kel::Opt
{

/// Holds the services of a run, gives them to any object, and takes them apart when it goes: the services refer to each other
/// and to themselves, so nothing else ends them. Outlives the run.
class kxManager : public kxInterfaced
{
    KX_OBJECT(kxManager, kxInterfaced)

    kxManager();

    /// Gives `target` the services.
    void setup(kxInterfaced* target);
    /// Wires the services with each other, after one of them was replaced.
    void setupServices();

protected:
    ~kxManager() override;

private:
    std::vector<kxSmartPointer<kxInterfaced>> m_wired; // services, replaced ones too
};

/// Manager with the library's own services.
class kxDefaultManager : public kxManager
{
    KX_OBJECT(kxDefaultManager, kxManager)

    /// With a plain `kxOptInterface`.
    kxDefaultManager();
    explicit kxDefaultManager(kxOptInterface* optInterface);
};

} // namespace Kel::Opt
