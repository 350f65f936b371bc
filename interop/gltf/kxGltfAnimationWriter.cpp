// Writing animations.
#include "interop/gltf/kxGltfAnimation.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

// What is wrong with the keys of a track; null when nothing is.
const char* faultOf(const kxTransformSequence* source)
{
    if (!source || source->getKeyCount() == 0)
        return "animation tracks without keys are not written";
    if (!source->isWellFormed())
        return "animation tracks with keys and values of different number are not written";
    if (source->isCubicSpline() && source->getKeyCount() < 2)
        return "animation tracks with a spline of a single key are not written";
    return nullptr;
}

const kxVertexArray* valuesOf(const kxGltfChannel& channel, kxGltfKeyWriter& keys)
{
    const auto* form = kxCast<kxGltfKeyForm>(channel.source->_fileForm.get());
    if (channel.kind == kxGltfKeyKind::VALUES)
        return static_cast<const kxValueSequence*>(channel.source)->_values;
    const auto* transforms = static_cast<const kxTransformSequence1_5*>(channel.source);
    switch (channel.kind)
    {
    case kxGltfKeyKind::TRANSLATION: return keys.getVectors(transforms->_translations, form);
    case kxGltfKeyKind::ROTATION: return keys.getQuaternions(transforms->_quaternions, form);
    default: return keys.getVectors(transforms->_scales, form);
    }
}

std::string_view interpolationOf(const kxTransformSequence& source)
{
    if (source.isCubicSpline())
        return "CUBICSPLINE";
    if (source.isStep())
        return "STEP";
    // A file may say what goes without saying, or something that nobody knows.
    const auto* form = kxCast<kxGltfKeyForm>(source._fileForm.get());
    return form && form->_interpolation.view() != "CUBICSPLINE" && form->_interpolation.view() != "STEP"
               ? form->_interpolation.view()
               : std::string_view();
}

std::string_view pathOf(const kxGltfChannel& channel)
{
    switch (channel.kind)
    {
    case kxGltfKeyKind::TRANSLATION: return "translation";
    case kxGltfKeyKind::ROTATION: return "rotation";
    case kxGltfKeyKind::SCALE: return "scale";
    default: return channel.track->_property.view();
    }
}

} // namespace

std::vector<kxGltfChannel> listChannels(const kxAnimation& animation,
                                        const std::function<const kxObject*(kxStringRef)>& findBone,
                                        kxGltfFaults& faults)
{
    std::vector<kxGltfChannel> channels;
    const auto addTracks = [&](const kxAnimationTrackList* tracks, bool areBones)
    {
        if (!tracks)
            return;
        for (const kxAnimationTrack* track : *tracks)
        {
            const kxTransformSequence* source = track ? track->getSource() : nullptr;
            if (const char* fault = faultOf(source))
            {
                faults.warn(fault, animation._name.str());
                continue;
            }
            const kxObject* target = track->_target;
            if (!target && areBones)
                target = findBone(track->getName());
            const auto add = [&](kxGltfKeyKind kind) { channels.push_back({track, source, kind, target}); };
            if (const auto* transforms = kxCast<kxTransformSequence1_5>(source))
            {
                if (transforms->hasTranslations())
                    add(kxGltfKeyKind::TRANSLATION);
                if (transforms->hasQuaternions())
                    add(kxGltfKeyKind::ROTATION);
                if (transforms->hasScales())
                    add(kxGltfKeyKind::SCALE);
            }
            else if (kxCast<kxValueSequence>(source))
                add(kxGltfKeyKind::VALUES);
        }
    };
    addTracks(animation.getTrackList(), true);
    addTracks(animation.getPropertyTrackList(), false);
    std::stable_sort(channels.begin(), channels.end(),
                     [](const kxGltfChannel& a, const kxGltfChannel& b)
                     { return a.track->getSerial() < b.track->getSerial(); });
    return channels;
}

void writeAnimation(kxJsonText& json, const kxAnimation& animation, const std::vector<kxGltfChannel>& channels,
                    kxGltfKeyWriter& keys, kxGltfCarriedWriter& carried, const kxIndicesOf& indicesOf,
                    const kxAccessorOf& accessorOf)
{
    // A sampler for each sequence and kind, in the order of the sequences.
    std::vector<const kxGltfChannel*> samplers;
    for (const kxGltfChannel& channel : channels)
        samplers.push_back(&channel);
    const auto keyOf = [](const kxGltfChannel* channel)
    { return std::pair(channel->source->getSerial(), channel->kind); };
    std::sort(samplers.begin(), samplers.end(), [&](const auto* a, const auto* b) { return keyOf(a) < keyOf(b); });
    samplers.erase(std::unique(samplers.begin(), samplers.end(),
                               [&](const auto* a, const auto* b) { return keyOf(a) == keyOf(b); }),
                   samplers.end());
    const auto numberOf = [&](const kxGltfChannel& channel)
    {
        return static_cast<uint64_t>(std::lower_bound(samplers.begin(), samplers.end(), &channel,
                                                      [&](const auto* a, const auto* b)
                                                      { return keyOf(a) < keyOf(b); }) -
                                     samplers.begin());
    };

    json.beginObject();
    if (!animation._name.isEmpty())
        json.member("name", animation._name.view());
    json.key("samplers");
    json.beginArray();
    for (const kxGltfChannel* sampler : samplers)
    {
        const kxTransformSequence& source = *sampler->source;
        const auto* form = kxCast<kxGltfKeyForm>(source._fileForm.get());
        json.beginObject();
        json.member("input", uint64_t(accessorOf(keys.getTimes(source.getTimeList(), form), true)));
        json.member("output", uint64_t(accessorOf(valuesOf(*sampler, keys), false)));
        if (const std::string_view interpolation = interpolationOf(source); !interpolation.empty())
            json.member("interpolation", interpolation);
        carried.write(json, source._userData);
        json.endObject();
    }
    json.endArray();
    json.key("channels");
    json.beginArray();
    for (const kxGltfChannel& channel : channels)
    {
        const kxAnimationTrack& track = *channel.track;
        kxGltfKind kind = kxGltfKind::COUNT;
        std::vector<uint32_t> targets;
        if (channel.target)
            targets = indicesOf(channel.target, kind);
        if (targets.empty())
            targets.push_back(UINT32_MAX);
        for (const uint32_t target : targets)
        {
            json.beginObject();
            json.member("sampler", numberOf(channel));
            json.key("target");
            json.beginObject();
            kxGltfCarriedWriter::Own own;
            if (track._hasPointer)
            {
                std::string pointer;
                if (target != UINT32_MAX)
                    pointer.append(pointerPrefix(kind)).append(std::to_string(target));
                if (channel.kind != kxGltfKeyKind::VALUES)
                    pointer.append("/");
                pointer.append(pathOf(channel));
                kxJsonText text;
                text.beginObject();
                text.member("pointer", pointer);
                text.endObject();
                own.extensions.emplace_back("KHR_animation_pointer", text.str());
            }
            else if (target != UINT32_MAX)
                json.member("node", uint64_t(target));
            json.member("path", track._hasPointer ? "pointer" : pathOf(channel));
            carried.write(json, track._targetUserData, own);
            json.endObject();
            carried.write(json, track._userData);
            json.endObject();
        }
    }
    json.endArray();
    carried.write(json, animation._userData);
    json.endObject();
}

} // namespace Kel::Gltf
