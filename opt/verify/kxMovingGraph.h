// What clips move in a scene graph.
#pragma once

#include "opt/verify/kxPictureHash.h"
#include "platform/attrs/kxGeometryAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxMorphInstance.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"

#include <map>

namespace Kel::Opt
{

/// The places of a scene graph path by path, and on them a few points of everything that clips move: vertices of geometries,
/// skinned and morphed, and the axes of cameras, lights and driven nodes. Where they are at a time of a clip is the answer.
///
/// The graph must neither change nor go while this is used. Cost: one step for each path, memory for those that lead to
/// something that moves; for each time a step for each track, moving place and point.
class kxMovingGraph
{
public:
    /// Paths that are followed, at most; behind them nothing moves.
    static constexpr size_t kMaxPaths = size_t(1) << 25;

    /// Something drawn that moves.
    struct Draw
    {
        uint64_t content; ///< what it is: equal for the same thing in another load of the file
        uint32_t place;
        uint32_t firstPoint;
        uint32_t pointCount;
        uint32_t driver = UINT32_MAX; ///< of a geometry: the draw that holds what moves it
        uint64_t kind = 0; ///< of something that its name tells from others, the same without the name; 0 for others
        bool isUnnamed = false; ///< of that, the name is missing
        bool isDriver = false;  ///< not something drawn, but what moves it: axes of a place or of joints, and weights

        /// What it is, whether it has a name or not.
        uint64_t getSort() const { return kind ? kind : content; }
    };

    /// Follows the paths below `root` and finds what the databases' clips move; null draws nothing.
    kxMovingGraph(kxNode* root, std::span<const kxAnimationDatabase* const> databases);

    /// Chooses the points, up to that many of each geometry. Must have been called before `evaluate`.
    void choosePoints(uint32_t perGeometry);
    /// Lets go of the draws for which `isKept(sort)` is false, and of what moves none of the others.
    template <class IsKept>
    void filter(IsKept isKept)
    {
        std::vector<bool> keeps(m_draws.size());
        for (size_t i = 0; i < m_draws.size(); ++i)
            if (!m_draws[i].isDriver && isKept(m_draws[i].getSort()))
            {
                keeps[i] = true;
                if (m_draws[i].driver != kNone)
                    keeps[m_draws[i].driver] = true;
            }
        keep(keeps);
    }
    const std::vector<Draw>& getDraws() const { return m_draws; }
    size_t getMovingCount() const { return m_moving.size(); }
    /// Names from the root to the place of a draw.
    std::string getPath(const Draw& draw) const;

    /// A clip, ready to be played: the tracks that drive something in this graph.
    struct Clip
    {
        struct Transform
        {
            uint32_t place;
            const kxTransformSequence1_5* source;
        };
        struct Weights
        {
            uint32_t place;
            const kxValueSequence* source;
        };
        std::vector<Transform> transforms;
        std::vector<Weights> weights;
    };
    Clip bind(const kxAnimation& animation) const;
    /// Appends the points of all draws in order at a time of a clip, in world space, three numbers each.
    void evaluate(const Clip& clip, int64_t time, std::vector<float>& points);

private:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Place
    {
        const kxNode* node;
        uint32_t parent;
        uint32_t skin = kNone;           ///< that the place is drawn with
        const kxNode* weights = nullptr; ///< what holds the weights where no clip gives them
        bool isMoving = false;
        bool isMorphed = false; ///< clips give the weights
    };
    struct Skin
    {
        const kxSkin* skin;
        std::vector<uint32_t> joints; ///< places; kNone for one that is not in the graph
        bool isMoving = false;
        std::vector<kxMatrix44d> binds;    ///< from the mesh to each joint at rest
        std::vector<kxMatrix44d> matrices; ///< from the mesh to the world, at the time that is evaluated
    };
    struct Influence
    {
        uint32_t joint;
        double weight;
    };
    struct Point
    {
        kxVec3d position{0, 0, 0};
        std::vector<kxVec3d> displacements; ///< of the morph targets
        std::vector<Influence> influences;
    };

    class Walk;

    void noteDriven(std::span<const kxAnimationDatabase* const> databases);
    void findSkins();
    void placeNodes();
    void getWeights(const Draw& draw, std::vector<double>& weights) const;
    const kxNode* targetOf(const kxAnimationTrack& track) const;
    const std::vector<uint32_t>& placesOf(const kxNode* node) const;
    void addGeometryPoints(const kxGeometryAttr& data, const Place& place, uint32_t perGeometry, Draw& draw);
    void addAxes(Draw& draw, uint32_t joint = kNone);
    uint32_t addDriver(uint32_t place, const kxGeometry& geometry);
    void keep(const std::vector<bool>& keeps);

    std::vector<Place> m_places;    // of the paths that lead to something that moves; parents before children
    std::vector<uint32_t> m_moving; // of those, the ones that do
    std::unordered_map<const kxNode*, std::vector<uint32_t>> m_placesOf;
    kxTSerialMap<bool> m_isJoint; // of a skin
    std::unordered_map<const kxSkin*, uint32_t> m_skinNumbers;
    std::vector<Skin> m_skins;
    std::unordered_map<uint64_t, const kxNode*> m_bones; // by name's hash, for tracks without a target
    std::unordered_map<const kxNode*, bool> m_driven;    // true: its weights
    std::vector<Draw> m_draws;
    std::vector<Point> m_points;
    std::map<std::vector<double>, uint32_t> m_drivers; // draws, by what they depend on; while points are chosen
    double m_axisLength = 1;

    // While a time is evaluated.
    std::vector<kxMatrix44d> m_rest, m_world;
    std::unordered_map<uint32_t, kxTransformSample> m_driverOf;
    std::unordered_map<uint32_t, std::vector<double>> m_weightsOf;
};

} // namespace Kel::Opt
