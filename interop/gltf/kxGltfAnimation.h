// Animations of a glTF file, and the clips of the scene.
//
// Every channel becomes a track of its own, with a sequence for each sampler and kind of values: nothing is joined, so the
// times of each stay its own. The order of tracks and sequences by creation is that of channels and samplers in the file.
#pragma once

#include "interop/gltf/kxGltfArrays.h"
#include "interop/gltf/kxGltfKeys.h"
#include "interop/gltf/kxGltfObjects.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"

namespace Kel::Gltf
{

using namespace Kel::Sg;

/// What the keys of a channel are.
enum class kxGltfKeyKind : uint32_t
{
    TRANSLATION,
    ROTATION,
    SCALE,
    VALUES, ///< of any other property
    COUNT
};

/// Calls back with the index of every node that channels of the file's animations target, directly or by pointer.
void forEachAnimatedNode(const kxJsonValue& animations, const std::function<void(uint32_t node)>& callback);

/// Makes the clips of a file and the skeletons of the plain nodes that they move. The skeletons of skins must be there already.
class kxGltfAnimationReader
{
public:
    kxGltfAnimationReader(kxAnimationDatabase& database, kxGltfArrays& arrays, const kxGltfObjects& objects,
                          kxGltfCarriedReader& carried, kxGltfFaults& faults);

    /// Fills a clip from its JSON object, `index` being its number. Channels whose values do not fit are left out with a
    /// warning. False when the file was refused.
    bool read(const kxJsonValue& json, uint32_t index, kxAnimation& animation);

private:
    struct Sampler;
    struct Channel;

    bool readSampler(const kxJsonValue& json, Sampler& sampler);
    const char* readChannel(const kxJsonValue& json, std::vector<Sampler>& samplers, Channel& channel);
    kxSmartPointer<kxTransformSequence> makeSequence(const Sampler& sampler, kxGltfKeyKind kind);
    void addSkeleton(const kxAnimation& animation);

    kxAnimationDatabase& m_database;
    kxGltfArrays& m_arrays;
    const kxGltfObjects& m_objects;
    kxGltfCarriedReader& m_carried;
    kxGltfFaults& m_faults;
    kxGltfKeyReader m_keys;
    kxTSerialMap<bool> m_isJoint;
    std::map<std::vector<const kxNode*>, const kxSkeleton*> m_skeletons; // of plain nodes; only looked up
};

/// One channel to be written.
struct kxGltfChannel
{
    const kxAnimationTrack* track;
    const kxTransformSequence* source;
    kxGltfKeyKind kind;
    const kxObject* target; ///< null when the channel drives nothing that is known
};

/// What is written of a clip, in order. A track of a bone that names no target is given that of `findBone`, and one for each
/// list of its source. Tracks without usable keys are left out with a warning.
std::vector<kxGltfChannel> listChannels(const kxAnimation& animation,
                                        const std::function<const kxObject*(kxStringRef)>& findBone,
                                        kxGltfFaults& faults);

/// Writes a clip as JSON object. `indicesOf` gives every number that a target has in the file: more than one where a
/// shared node was written several times.
using kxIndicesOf = std::function<std::vector<uint32_t>(const kxObject*, kxGltfKind&)>;
using kxAccessorOf = std::function<uint32_t(const kxVertexArray*, bool needsBounds)>;
void writeAnimation(kxJsonText& json, const kxAnimation& animation, const std::vector<kxGltfChannel>& channels,
                    kxGltfKeyWriter& keys, kxGltfCarriedWriter& carried, const kxIndicesOf& indicesOf,
                    const kxAccessorOf& accessorOf);

} // namespace Kel::Gltf
