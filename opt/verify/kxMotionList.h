// What clips show over time.
#pragma once

#include "opt/verify/kxMovingGraph.h"
#include "platform/core/kxInfo.h"
#include "platform/sg/kxSceneInfo.h"

#include <deque>
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
        uint32_t driver = UINT32_MAX; ///< of a geometry: the point that holds what moves it
        bool isDriver = false;        ///< see `kxMovingGraph::Draw`, as the next two
        uint64_t kind = 0;
        bool isUnnamed = false;

        /// True for what is the same but for a name that one of the two does not have.
        bool isNamesake(const Thing& other) const
        {
            return kind != 0 && kind == other.kind && (isUnnamed || other.isUnnamed);
        }
    };
    struct Clip
    {
        kxStringRef name;
        std::vector<int64_t> times; ///< none for a clip that is not looked at, of very many
        std::vector<float> numbers; ///< for each time those of the points, then those of the values
        std::vector<Thing> values;  ///< numbers that are no places in space

        size_t getWidth() const { return times.empty() ? 0 : numbers.size() / times.size(); }
    };

    /// Looks at all scenes and clips among the infos; null holds none. Clips without keys are passed over. With `like` the times are those of that list, so that both
    /// can be compared.
    void collect(const kxInfoList* infos, const kxMotionList* like = nullptr);
    /// The same for one scene.
    void collect(const kxSceneInfo* scene, const kxInfoList* infos, const kxMotionList* like = nullptr);

    const std::deque<Clip>& getClips() const { return m_clips; }
    /// What the clips move, places in space; the same for all.
    const std::vector<Thing>& getPoints() const { return m_points; }

    /// Clip by name and number among those of that name.
    class Index
    {
    public:
        explicit Index(const kxMotionList& list);
        const Clip* find(kxStringRef name, size_t number) const;

    private:
        std::unordered_map<uint64_t, std::vector<const Clip*>> m_clips;
    };

private:
    void collect(std::span<const kxSceneInfo* const> scenes, const kxInfoList* infos, const kxMotionList* like);
    void sample(Clip& clip, const kxAnimation& animation, std::deque<kxMovingGraph>& graphs);
    void choosePoints(std::deque<kxMovingGraph>& graphs, const kxMotionList* like);

    std::deque<Clip> m_clips;
    std::vector<Thing> m_points;
    uint32_t m_pointsPerGeometry = 0;
    uint64_t m_lastSort = UINT64_MAX; // of too many things, those of sorts behind it are not looked at
};

} // namespace Kel::Opt
