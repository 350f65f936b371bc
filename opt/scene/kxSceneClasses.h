// Registration of the scene optimizations' classes.
#pragma once

namespace Kel::Opt
{

/// Registers the classes of this folder and of the verification.
void registerSceneClasses();

} // namespace Kel::Opt
