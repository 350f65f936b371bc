// What clips show over time.
#pragma once

#include "opt/verify/kxMovingGraph.h"
#include "platform/core/kxInfo.h"
#include "platform/sg/kxSceneInfo.h"

#include <string>
#include <vector>

namespace Kel::Opt
{

/// Where everything is that the clips of a file move, at some times at keys and some between them, and the numbers that
/// clips give to materials, lights and cameras then. It stands by itself, like a draw list, when the graph has long been changed.
///
/// The times are bounded, so that a list costs about as much as loading the clips: long clips, and files of many, are looked at
/// less often than they have keys.
class kxMotionList
{
public:
    /// Something that moves, or a number that changes.
    struct Thing
    {
        uint64_t content;
        std::string path;
        uint32_t first; ///< of its numbers at each time
        uint32_t count;
        bool isPoints; ///< places in space, not numbers of their own kind
    };
    struct Clip
    {
        kxStringRef name;
        std::vector<int64_t> times;
        std::vector<float> numbers; ///< for each time the numbers of all things
        std::vector<Thing> things;
    };

    /// Looks at all scenes and clips among the infos; null holds none. With `like` the times are those of that list, so that both
    /// can be compared.
    void collect(const kxInfoList* infos, const kxMotionList* like = nullptr);
    /// The same for one scene.
    void collect(const kxSceneInfo* scene, const kxInfoList* infos, const kxMotionList* like = nullptr);

    const std::vector<Clip>& getClips() const { return m_clips; }

private:
    void collect(std::span<const kxSceneInfo* const> scenes, const kxInfoList* infos, const kxMotionList* like);
    const Clip* findClip(kxStringRef name, size_t number) const;

    std::vector<Clip> m_clips;
    uint32_t m_pointsPerGeometry = 0;
};

} // namespace Kel::Opt
