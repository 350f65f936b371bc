// Registration of the image optimizations.
#pragma once

namespace Kel::Opt
{

/// Registers the image optimizations and what they are made of; the bases of optimizations must be registered.
void registerImageClasses();

} // namespace Kel::Opt
