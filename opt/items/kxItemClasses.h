// Registration of the item system's classes.
#pragma once

namespace Kel::Opt
{

/// Registers parameters, constraints, items, events, listeners, lock rules and the object iterator. The classes of the
/// layers below and `kxInterfaced` must be registered.
void registerItemClasses();

} // namespace Kel::Opt
