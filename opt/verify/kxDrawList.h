// What a scene shows: everything drawn, with its place and attributes.
#pragma once

#include "opt/verify/kxImageSamples.h"
#include "opt/verify/kxPictureHash.h"
#include "opt/verify/kxSurface.h"
#include "platform/core/kxInfo.h"
#include "platform/core/kxTHugeAllocator.h"
#include "platform/sg/kxSceneInfo.h"

#include <array>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kel::Opt
{

/// Everything that a graph draws: one entry for every path from the root to vertex data, a camera or a light, for every
/// pass that a shader draws it in, and for what decides by its place or its movement how things below it are seen. Two
/// graphs show the same picture when their lists are equal as multisets, matrices within a tolerance
/// (`kxPictureComparison`).
///
/// Contents are hashes of values, never of identities, so lists of different loads of a file can be compared. The list
/// stands by itself: it names its draws when the graph has long been changed. Cost: one step for each path; about 100
/// bytes for each entry.
class kxDrawList
{
public:
    enum Kind : uint32_t
    {
        GEOMETRY,
        CAMERA,
        LIGHT,
        DRIVEN,     ///< a joint or a node that moves: things follow its place
        OWN_MATRIX, ///< the same node's own matrix, which a track replaces
        PLACE ///< a node that draws what is below it as its place in space says: level of detail, billboard, instances
    };

    struct Draw
    {
        uint64_t content;       ///< vertex data, projection, light or type of node
        uint64_t attributes;    ///< attributes in effect, by type and unit, without their images
        uint64_t images;        ///< images of the attributes in effect and of the content
        uint64_t contentImages; ///< those of the content alone, which its material variants show
        uint64_t conditions;    ///< switch children, distance ranges, skins, weights, passes and movers of the path
        uint64_t movers;        ///< names of the driven nodes of the path, its own and those of joints among them
        std::array<float, 12> matrix; ///< rows x, y, z and translation of the path's matrix, three numbers each
        Kind kind;
        uint32_t path;        ///< for getPath
        uint32_t surface;     ///< for getSurface; 0 for none
        bool hasUnnamedMover; ///< one of those has no name, so that nothing tells it from others but what it moves
    };

    /// Paths that are followed at most; nested instances can have more than any memory holds.
    static constexpr size_t kMaxPaths = size_t(1) << 25;

    /// Adds all that `root` draws, as a scene of its own; null draws nothing. The graph must be free of cycles.
    void collect(kxNode* root);
    /// Adds all that a scene draws, its name in front of the paths. The first scene of one list is compared with the
    /// first of the other, and so on.
    void collect(const kxSceneInfo* scene);
    /// Adds all scenes among the infos, in order; null adds nothing.
    void collect(const kxInfoList* infos);

    /// False when there were more than `kMaxPaths` paths: the list is cut off.
    bool isComplete() const { return m_complete; }

    std::span<const Draw> getDraws() const { return m_draws; }

    /// What vertex data cover, null for other draws and for data that cannot be measured.
    const kxSurface* getSurface(const Draw& draw) const
    {
        return draw.surface ? &m_surfaces[draw.surface - 1] : nullptr;
    }
    /// The part that a palette of blend matrices has in `attributes`; the surface tells what the bones are.
    uint64_t getPaletteHash(const Draw& draw) const { return draw.surface ? m_paletteHashes[draw.surface - 1] : 0; }

    /// Path to a draw: names from the root, types where there is none. The middle of a very long path is left out.
    std::string getPath(const Draw& draw) const;

    /// One attribute in effect: its type and use, and how it looks.
    struct Attribute
    {
        kxStringRef type;
        kxStringRef slot; ///< use of a texture, null for other attributes
        kxLook look;
        uint32_t image; ///< sample of what it shows, for `getImages`; `kxImageSamples::kNone` when there is none
    };
    /// The attributes behind a draw's `attributes` and `images`, sorted by type and use; valid until the list grows.
    std::span<const Attribute> getAttributes(const Draw& draw) const;

    /// The images of the textures in effect and of material variants, as they were.
    const kxImageSamples& getImages() const { return m_images; }
    /// Samples behind a draw's `contentImages`, in the order of the variants; empty when there are none.
    std::span<const uint32_t> getContentImages(const Draw& draw) const;

private:
    class Walk;
    struct PathStep
    {
        uint32_t parent; // index of the step before, UINT32_MAX at the root
        kxStringRef name;
    };
    struct AttributeRange
    {
        uint32_t first;
        uint32_t count;
    };

    void collectScene(kxNode* root, uint32_t parentStep);
    uint32_t addStep(uint32_t parent, kxStringRef name);
    uint32_t addSurface(const kxAttr* attr, const kxLook& content, uint64_t variants, const kxAttr* palette,
                        uint64_t paletteHash);

    kxPictureHash m_hash;
    kxImageSamples m_images;
    uint64_t m_sceneCount = 0;
    bool m_complete = true;
    std::vector<Draw, kxTHugeAllocator<Draw>> m_draws;
    std::vector<PathStep, kxTHugeAllocator<PathStep>> m_steps;
    std::vector<kxSurface> m_surfaces; // of different vertex data
    std::vector<uint64_t> m_paletteHashes;
    std::unordered_map<uint64_t, uint32_t> m_surfaceNumbers; // + 1, 0 for none, by content and palette
    std::vector<Attribute> m_attributes;
    std::unordered_map<uint64_t, std::vector<uint32_t>> m_contentImages; // by a draw's `contentImages`
    std::unordered_map<uint64_t, AttributeRange> m_states; // of `m_attributes`, by the sum of a draw's two hashes
};

} // namespace Kel::Opt
