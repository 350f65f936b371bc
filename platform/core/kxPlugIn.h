// What the author of a plug-in includes: a shared library that brings classes of its own.
#pragma once

#include "platform/core/kxFields.h"

#include <cstdint>

namespace Kel::Core
{

/// Number of the binary interface between the library and its plug-ins; it changes whenever a plug-in has to be built anew.
constexpr uint32_t kPlugInAbiVersion = 1;

/// What a plug-in says about itself. The first two members stay what they are in every version of the interface.
struct kxPlugInInfo
{
    uint32_t abiVersion;
    const char* name;
    void (*registerClasses)();
};

/// Name and type of the one function that a plug-in exports.
constexpr const char* kPlugInFunctionName = "kxPlugInRegister";
using kxPlugInFunction = const kxPlugInInfo* (*)();

} // namespace Kel::Core

/// Stands once in a plug-in, outside of namespaces: the plug-in's name and the function `void f()` that registers its classes
/// with `kxRegisterClass`. The function is called once, after the version has been found to fit.
///
///     KX_PLUGIN("Example", registerExample)
#define KX_PLUGIN(Name, RegisterFunction)                                                                              \
    extern "C" [[gnu::visibility("default")]] const Kel::Core::kxPlugInInfo* kxPlugInRegister()                        \
    {                                                                                                                  \
        static const Kel::Core::kxPlugInInfo info = {Kel::Core::kPlugInAbiVersion, Name, RegisterFunction};            \
        return &info;                                                                                                  \
    }
