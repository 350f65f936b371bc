// What the images of a scene are used for.
#pragma once

#include "opt/image/kxZoomImage.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxNode.h"

#include <unordered_map>

namespace Kel::Opt
{

using namespace Kel::Attrs;
using namespace Kel::Sg;

/// Finds out how images are to be averaged: by the uses that textures are put to, and for colours by whether the materials
/// in effect there take the alpha for coverage.
class kxImageUses
{
public:
    /// Adds what `root` reaches; null adds nothing. Cost: a few steps for each node and each child.
    void collect(kxObject* root);
    void clear() { m_meanings.clear(); }

    /// Meaning of an image that textures with known uses show. Put to uses of different kinds it is averaged as what it is
    /// stored as, plain numbers; where it is colour throughout, but its alpha coverage only here and there, colours count
    /// alike. `usual` for an image without a known use.
    kxZoomMeaning meaningOf(const kxImage& image, kxZoomMeaning usual) const;

private:
    // Modes of the materials that may be in effect, as bits.
    enum : uint8_t
    {
        IS_OPAQUE = 1,
        IS_COVERAGE = 2
    };
    struct Modes
    {
        uint8_t own = 0;       // of the set's own material, 0 without one
        uint8_t inherited = 0; // from above
        uint8_t below = 0;     // at the geometries below
        bool isKnown = false;
        uint8_t atNode() const { return own ? own : inherited; }
    };
    using ModeMap = kxTSerialMap<Modes>;

    /// Of the material among them, 0 without one.
    static uint8_t modeOf(const kxAttrList& attrs);
    static void spreadModes(const std::vector<kxNode*>& nodes, ModeMap& modes);
    void add(const kxTextureBindAttr& bind, bool isCoverage);

    std::unordered_map<const kxImage*, kxZoomMeaning> m_meanings;
};

} // namespace Kel::Opt
