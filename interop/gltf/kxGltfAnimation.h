// Animations of a glTF file, carried exactly as they are.
#pragma once

#include "interop/gltf/kxGltfArrays.h"
#include "interop/gltf/kxGltfObjects.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxAnimation.h"

namespace Kel::Gltf
{

using namespace Kel::Sg;

/// Keys of an animation: times, and for each time the values.
class kxGltfAnimationSampler : public kxObject
{
    KX_OBJECT(kxGltfAnimationSampler, kxObject)
    static void listFields(kxFields<kxGltfAnimationSampler>& fields);

    kxSmartPointer<kxVertexArray> _input;
    kxSmartPointer<kxVertexArray> _output;
    kxStringRef _interpolation;
    kxSmartPointer<kxUserData> _userData;
};

KX_OBJECT_LIST(kxGltfAnimationSamplerList, kxGltfAnimationSampler)

/// What a sampler drives. The target is a node with a path such as "translation", or any thing of the file with the rest of a
/// JSON pointer to one of its properties.
class kxGltfAnimationChannel : public kxObject
{
    KX_OBJECT(kxGltfAnimationChannel, kxObject)
    static void listFields(kxFields<kxGltfAnimationChannel>& fields);

    kxSmartPointer<kxGltfAnimationSampler> _sampler;
    kxSmartPointer<kxObject> _target; ///< null when the channel drives nothing that is known
    kxStringRef _path;
    kxStringRef _pointer; ///< rest of the pointer behind the target, or the whole pointer when there is no target
    bool _hasPointer = false;
    kxSmartPointer<kxUserData> _userData;
    kxSmartPointer<kxUserData> _targetUserData;
};

KX_OBJECT_LIST(kxGltfAnimationChannelList, kxGltfAnimationChannel)

/// A clip as its file has it.
class kxGltfAnimation : public kxAnimation
{
    KX_OBJECT(kxGltfAnimation, kxAnimation)
    static void listFields(kxFields<kxGltfAnimation>& fields);

    kxSmartPointer<kxGltfAnimationSamplerList> _samplers = kxNew<kxGltfAnimationSamplerList>();
    kxSmartPointer<kxGltfAnimationChannelList> _channels = kxNew<kxGltfAnimationChannelList>();
};

/// Calls back with the index of every node that channels of the file's animations target, directly or by pointer.
void forEachAnimatedNode(const kxJsonValue& animations, const std::function<void(uint32_t node)>& callback);

/// Fills an animation from its JSON object, `index` being its number. Channels whose values do not fit are left out with a
/// warning. False when the file was refused.
bool readAnimation(const kxJsonValue& json, uint32_t index, kxGltfAnimation& animation, kxGltfArrays& arrays,
                   const kxGltfObjects& objects, kxGltfCarriedReader& carried, kxGltfFaults& faults);

/// True when an animation has something to write.
bool hasValidChannels(const kxGltfAnimation& animation);
/// Writes an animation as JSON object. `indicesOf` gives every number that a target has in the file: more than one where a
/// shared node was written several times.
using kxIndicesOf = std::function<std::vector<uint32_t>(const kxObject*, kxGltfKind&)>;
using kxAccessorOf = std::function<uint32_t(kxVertexArray*, bool needsBounds)>;
void writeAnimation(kxJsonText& json, const kxGltfAnimation& animation, kxGltfCarriedWriter& carried,
                    const kxIndicesOf& indicesOf, const kxAccessorOf& accessorOf);

} // namespace Kel::Gltf
