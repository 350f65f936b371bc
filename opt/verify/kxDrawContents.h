// What nodes set and draw, ready for a walk that meets them many times.
#pragma once

#include "opt/verify/kxNodeRole.h"
#include "platform/core/kxDelayLine.h"
#include "platform/core/kxTHugeAllocator.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGeometry.h"

#include <functional>
#include <vector>

namespace Kel::Opt
{

/// What nodes set, draw and say, looked up once however many paths lead to them. The nodes must stay as they are meanwhile.
class kxDrawContents
{
public:
    /// An attribute that a set has, as it takes effect.
    struct Setting
    {
        const kxMetaObject* type;
        uint64_t unit;
        const kxAttr* attr;
        kxLook look;    ///< with the use of the attribute
        bool overrides; ///< set by a set whose attributes none below can replace
        bool isLast;    ///< of those of its set
    };
    /// Vertex data of a geometry.
    struct Vertices
    {
        const kxAttr* attr;
        kxLook look; ///< with the material variants
        uint64_t variants;
        uint32_t surface; ///< for the walk: where no palette of blend matrices is in effect
        bool hasSurface;  ///< that is known
        bool isLast;      ///< of those of its geometry
    };
    /// Where the contents of one node are found.
    struct Entry
    {
        static constexpr uint32_t kNone = UINT32_MAX;
        bool isKnown = false;
        uint32_t firstSetting = kNone;
        uint32_t firstVertices = kNone;
        uint32_t saying = kNone;
    };
    /// Told of the variants of a geometry and the hash of the images that they and its vertex data reach, when these are looked
    /// up.
    using NoteVariants = std::function<void(uint64_t images, const kxMaterialVariantList& variants)>;

    kxDrawContents(kxPictureHash& hash, NoteVariants noteVariants)
        : m_hash(hash), m_noteVariants(std::move(noteVariants))
    {
    }

    /// True for attributes that are drawn themselves, rather than say how.
    static bool isDrawn(const kxAttr* attr);
    Setting settingOf(const kxAttr* attr, uint64_t unit, bool overrides);

    Entry of(const kxGroup* group, const kxNodeRole& role);
    /// The first of a run that ends with `isLast`, null for none; valid until the next `of`.
    const Setting* getSettings(const Entry& entry) const
    {
        return entry.firstSetting == Entry::kNone ? nullptr : &m_settings[entry.firstSetting];
    }
    Vertices* getVertices(const Entry& entry)
    {
        return entry.firstVertices == Entry::kNone ? nullptr : &m_vertices[entry.firstVertices];
    }
    /// What `kxPictureHash::hashDrawing` gives for the node; 0 for nothing.
    uint64_t getSaying(const Entry& entry) const { return entry.saying == Entry::kNone ? 0 : m_sayings[entry.saying]; }

    /// Asks for what is known of a node that the walk comes to soon, and for what that refers to when it has arrived.
    void askAhead(const kxNode* node);

private:
    void noteVertices(const kxGeometry* geometry);

    kxPictureHash& m_hash;
    NoteVariants m_noteVariants;
    kxTSerialMap<Entry> m_entries;
    kxDelayLine<const kxNode*, 6> m_asked;
    std::vector<uint64_t> m_sayings;
    std::vector<Setting, kxTHugeAllocator<Setting>> m_settings;
    std::vector<Vertices, kxTHugeAllocator<Vertices>> m_vertices;
};

} // namespace Kel::Opt
