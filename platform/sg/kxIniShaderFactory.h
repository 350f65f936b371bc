// Makes shaders from ini-style text.
#pragma once

#include "platform/sg/kxShaderFactory.h"

namespace Kel::Sg
{

/// Makes shaders from ini-style text. What lies outside the scene's file can be taken into it.
///
/// The text has a section for each pass, and in it a line for each attribute, in the text form of scenes:
///
///     [PASS1]
///     attribute1 = Material[baseColorFactor=1,0,0,1]
///     attribute2 = State[state="fog"]
///     [PASS2]
///     ...
///
/// Files are looked for at or below the current folder and nowhere else, so that a scene from a stranger cannot ask for
/// others.
class kxIniShaderFactory : public kxShaderFactory
{
    KX_OBJECT(kxIniShaderFactory, kxShaderFactory)
    static void listFields(kxFields<kxIniShaderFactory>& fields);

    /// Values of `_storage`.
    static constexpr int32_t kByName = 0; ///< `_source` and ".ini" name a file of the current folder
    static constexpr int32_t kByPath = 1; ///< `_source` is a path below the current folder
    static constexpr int32_t kInScene = 2;

    /// Text that is taken from a file at most, in bytes.
    static constexpr size_t kMaxTextBytes = size_t(1) << 20;

    int32_t _storage = kByName;
    kxStringRef _text;

    /// Says where the source is to be kept from now on; `store` then moves it there.
    virtual void setStorage(int32_t storage);
    /// Takes the source into the scene when that is where it is to be kept. False when it cannot be had: one warning says
    /// why, and the source stays where it was.
    virtual bool store();

    bool makePasses(kxShaderPassList& passes) const override;

protected:
    bool readSource(int32_t storage, kxStringRef& text) const;

private:
    int32_t m_formerStorage = kByName; // where the source is until `store` has moved it
};

} // namespace Kel::Sg
