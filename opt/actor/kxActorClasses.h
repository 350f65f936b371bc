// Registration of the animation optimizations' classes.
#pragma once

namespace Kel::Opt
{

/// Registers the classes of this folder.
void registerActorClasses();

} // namespace Kel::Opt
