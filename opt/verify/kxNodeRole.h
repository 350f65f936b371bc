// What a walk over all that is drawn has to look at in nodes of a type.
#pragma once

#include "opt/verify/kxPictureHash.h"

#include <vector>

namespace Kel::Opt
{

/// Questions about a node whose answers its type gives; most types say no to most of them.
struct kxNodeRole
{
    /// The class that says what a group does to what is below it.
    enum Effect : uint8_t
    {
        NOTHING,
        TRANSFORM,
        ATTR_SET,
        SHADER,
        LIGHT_SET,
        LIGHT_STATE_SET,
        ACTOR
    };

    kxNodeRole() = default;
    kxNodeRole(const kxMetaObject* type, kxPictureHash& hash);

    bool isKnown = false;
    Effect effect = NOTHING;
    bool isGroup = false;
    bool isCamera = false;
    bool isLod = false;
    bool isMesh = false;
    bool isDriven = false; ///< nodes of the type move
    /// It turns, repeats or chooses what is below it as its place says: a matrix above one is not the same as a matrix below
    /// it, though the product is.
    bool isPlaceSeen = false;
    bool saysHow = false; ///< `kxPictureHash::hashDrawing` has something to say
};

/// The roles of types, each looked up once.
class kxNodeRoles
{
public:
    explicit kxNodeRoles(kxPictureHash& hash) : m_hash(hash) {}

    /// Valid until the next call.
    const kxNodeRole& of(const kxMetaObject* type);

private:
    kxPictureHash& m_hash;
    std::vector<kxNodeRole> m_roles; // by the index of the type
};

} // namespace Kel::Opt
