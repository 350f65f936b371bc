#include "interop/gltf/kxGltfAnimation.h"

#include <unordered_map>

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfAnimationSampler)
KX_IMPLEMENT(kxGltfAnimationSamplerList)
KX_IMPLEMENT(kxGltfAnimationChannel)
KX_IMPLEMENT(kxGltfAnimationChannelList)
KX_IMPLEMENT(kxGltfAnimation)

void kxGltfAnimationSampler::listFields(kxFields<kxGltfAnimationSampler>& fields)
{
    fields.add(&kxGltfAnimationSampler::_input, "_input", "times of the keys, seconds");
    fields.add(&kxGltfAnimationSampler::_output, "_output", "values, one or three for each key and component");
    fields.add(&kxGltfAnimationSampler::_interpolation, "_interpolation",
               "LINEAR, STEP or CUBICSPLINE; null for the first");
    fields.add(&kxGltfAnimationSampler::_userData, "_userData", "what a file says beyond these fields");
}

void kxGltfAnimationChannel::listFields(kxFields<kxGltfAnimationChannel>& fields)
{
    fields.add(&kxGltfAnimationChannel::_sampler, "_sampler", "the keys");
    fields.add(&kxGltfAnimationChannel::_target, "_target", "object that is driven");
    fields.add(&kxGltfAnimationChannel::_path, "_path", "property of a node that is driven, or \"pointer\"");
    fields.add(&kxGltfAnimationChannel::_pointer, "_pointer", "path to the property below the target");
    fields.add(&kxGltfAnimationChannel::_hasPointer, "_hasPointer", "the property is given by a pointer");
    fields.add(&kxGltfAnimationChannel::_userData, "_userData", "what a file says beyond these fields");
    fields.add(&kxGltfAnimationChannel::_targetUserData, "_targetUserData",
               "what a file says about the target beyond these fields");
}

void kxGltfAnimation::listFields(kxFields<kxGltfAnimation>& fields)
{
    fields.add(&kxGltfAnimation::_samplers, "_samplers", "the keys of all channels");
    fields.add(&kxGltfAnimation::_channels, "_channels", "what the keys drive");
}

namespace
{

constexpr std::string_view kAnimationMembers[] = {"name", "channels", "samplers"};
constexpr std::string_view kSamplerMembers[] = {"input", "output", "interpolation"};
constexpr std::string_view kChannelMembers[] = {"sampler", "target"};
constexpr std::string_view kTargetMembers[] = {"node", "path"};
constexpr std::string_view kTargetExtensions[] = {"KHR_animation_pointer"};
const kxKnownKeys kAnimationKeys = {"animation", kAnimationMembers, {}};
const kxKnownKeys kSamplerKeys = {"animation sampler", kSamplerMembers, {}};
const kxKnownKeys kChannelKeys = {"channel", kChannelMembers, {}};
const kxKnownKeys kTargetKeys = {"channel target", kTargetMembers, kTargetExtensions};

const kxJsonValue* pointerOf(const kxJsonValue& target)
{
    const kxJsonValue* extensions = findMember(target, "extensions");
    const kxJsonValue* extension = extensions ? findMember(*extensions, "KHR_animation_pointer") : nullptr;
    const kxJsonValue* pointer = extension ? findMember(*extension, "pointer") : nullptr;
    return pointer && pointer->IsString() ? pointer : nullptr;
}

std::string_view stringMember(const kxJsonValue& object, const char* key)
{
    const kxJsonValue* value = findMember(object, key);
    return value && value->IsString() ? textOf(*value) : std::string_view();
}

// What is wrong with the keys of a sampler; null when nothing is.
const char* faultOf(const kxGltfAnimationSampler& sampler, kxStringRef path)
{
    if (!sampler._input || !sampler._output)
        return "animation channels without keys are left out";
    if (sampler._input->_componentType != kxComponentType::FLOAT32 || sampler._input->_componentCount != 1)
        return "animation channels with times that are no floats are left out";
    const int64_t keys = sampler._input->_count;
    const bool cubic = sampler._interpolation.view() == "CUBICSPLINE";
    const int64_t values = cubic ? keys * 3 : keys;
    // A key of weights has one value for each morph target, one of a pointer's property maybe as well.
    const std::string_view what = path.view();
    const uint32_t components = what == "translation" || what == "scale" ? 3 : what == "rotation" ? 4 : 0;
    if (keys == 0 || sampler._output->_count < values || sampler._output->_count % values != 0 ||
        (components && sampler._output->_count != values))
        return "animation channels with keys and values of different number are left out";
    if (components && (sampler._output->_componentCount != components || sampler._output->_matrix))
        return "animation channels with values of an impossible type are left out";
    if (cubic && keys < 2)
        return "animation channels with a spline of a single key are left out";
    return nullptr;
}

} // namespace

void forEachAnimatedNode(const kxJsonValue& animations, const std::function<void(uint32_t)>& callback)
{
    if (!animations.IsArray())
        return;
    for (auto animation = animations.Begin(); animation != animations.End(); ++animation)
    {
        const kxJsonValue* channels = findMember(*animation, "channels");
        if (!channels || !channels->IsArray())
            continue;
        for (auto channel = channels->Begin(); channel != channels->End(); ++channel)
        {
            const kxJsonValue* target = findMember(*channel, "target");
            uint32_t node = 0;
            if (!target)
                continue;
            if (const kxJsonValue* named = findMember(*target, "node"); named && readIndex(*named, node))
                callback(node);
            kxGltfKind kind;
            std::string_view rest;
            const kxJsonValue* pointer = pointerOf(*target);
            if (pointer && splitPointer(textOf(*pointer), kind, node, rest) && kind == kxGltfKind::NODE)
                callback(node);
        }
    }
}

bool readAnimation(const kxJsonValue& json, uint32_t index, kxGltfAnimation& animation, kxGltfArrays& arrays,
                   const kxGltfObjects& objects, kxGltfCarriedReader& carried, kxGltfFaults& faults)
{
    static const kxStringRef kInput("ANIMATION_INPUT"), kOutput("ANIMATION_OUTPUT");
    const std::string where = kxFormat("animation %u", index);
    animation._userData = carried.read(json, kAnimationKeys);
    const kxJsonValue* samplers = findMember(json, "samplers");
    const kxJsonValue* channels = findMember(json, "channels");
    if (!samplers || !channels || !samplers->IsArray() || !channels->IsArray())
    {
        faults.warn("animation has no list of channels or samplers", where);
        return true;
    }

    for (auto at = samplers->Begin(); at != samplers->End(); ++at)
    {
        auto sampler = kxNew<kxGltfAnimationSampler>();
        animation._samplers->append(sampler);
        if (!at->IsObject())
            continue;
        uint32_t accessor = 0;
        if (const kxJsonValue* input = findMember(*at, "input"); input && readIndex(*input, accessor))
            sampler->_input = arrays.get(accessor, kInput);
        if (const kxJsonValue* output = findMember(*at, "output"); output && readIndex(*output, accessor))
            sampler->_output = arrays.get(accessor, kOutput);
        if (faults.isRefused())
            return false;
        if (const std::string_view interpolation = stringMember(*at, "interpolation"); !interpolation.empty())
            sampler->_interpolation = kxStringRef(interpolation);
        sampler->_userData = carried.read(*at, kSamplerKeys);
    }

    for (auto at = channels->Begin(); at != channels->End(); ++at)
    {
        uint32_t number = 0;
        const kxJsonValue* named = findMember(*at, "sampler");
        const kxJsonValue* target = findMember(*at, "target");
        if (!named || !readIndex(*named, number) || number >= animation._samplers->getCount() || !target ||
            !target->IsObject())
        {
            faults.warn("animation channels without sampler or target are left out", where);
            continue;
        }
        auto channel = kxNew<kxGltfAnimationChannel>();
        channel->_sampler = animation._samplers->get(number);
        channel->_path = kxStringRef(stringMember(*target, "path"));
        if (const char* fault = faultOf(*channel->_sampler, channel->_path))
        {
            faults.warn(fault, where);
            continue;
        }
        if (const kxJsonValue* node = findMember(*target, "node"))
        {
            channel->_target = readIndex(*node, number) ? objects.find(kxGltfKind::NODE, number) : nullptr;
            if (!channel->_target)
            {
                faults.warn("animation channels of nodes that do not exist are left out", where);
                continue;
            }
        }
        if (const kxJsonValue* pointer = pointerOf(*target))
        {
            kxGltfKind kind;
            std::string_view rest = textOf(*pointer);
            channel->_hasPointer = true;
            if (splitPointer(textOf(*pointer), kind, number, rest))
                channel->_target = objects.find(kind, number);
            if (!channel->_target)
                rest = textOf(*pointer);
            channel->_pointer = kxStringRef(rest);
        }
        channel->_userData = carried.read(*at, kChannelKeys);
        channel->_targetUserData = carried.read(*target, kTargetKeys);
        animation._channels->append(channel);
    }
    return true;
}

namespace
{

bool isUsable(const kxGltfAnimationChannel& channel)
{
    return channel._sampler && !faultOf(*channel._sampler, channel._path);
}

} // namespace

bool hasValidChannels(const kxGltfAnimation& animation)
{
    for (kxGltfAnimationChannel* channel : *animation._channels)
        if (isUsable(*channel))
            return true;
    return false;
}

void writeAnimation(kxJsonText& json, const kxGltfAnimation& animation, kxGltfCarriedWriter& carried,
                    const kxIndicesOf& indicesOf, const kxAccessorOf& accessorOf)
{
    // Samplers that nothing uses any more because their channels were left out would have no valid keys.
    std::unordered_map<const kxObject*, uint32_t> numbers;
    json.beginObject();
    if (!animation._name.isEmpty())
        json.member("name", animation._name.view());
    json.key("samplers");
    json.beginArray();
    for (kxGltfAnimationSampler* sampler : *animation._samplers)
    {
        if (faultOf(*sampler, kxStringRef()))
            continue;
        numbers.emplace(sampler, static_cast<uint32_t>(numbers.size()));
        json.beginObject();
        json.member("input", uint64_t(accessorOf(sampler->_input, true)));
        json.member("output", uint64_t(accessorOf(sampler->_output, false)));
        if (!sampler->_interpolation.isEmpty())
            json.member("interpolation", sampler->_interpolation.view());
        carried.write(json, sampler->_userData);
        json.endObject();
    }
    json.endArray();
    json.key("channels");
    json.beginArray();
    for (kxGltfAnimationChannel* channel : *animation._channels)
    {
        const auto sampler = numbers.find(channel->_sampler.get());
        if (sampler == numbers.end() || !isUsable(*channel))
            continue;
        kxGltfKind kind = kxGltfKind::COUNT;
        std::vector<uint32_t> targets;
        if (channel->_target)
            targets = indicesOf(channel->_target, kind);
        if (targets.empty())
            targets.push_back(UINT32_MAX);
        for (const uint32_t target : targets)
        {
            json.beginObject();
            json.member("sampler", uint64_t(sampler->second));
            json.key("target");
            json.beginObject();
            kxGltfCarriedWriter::Own own;
            if (channel->_hasPointer)
            {
                std::string pointer = channel->_pointer.str();
                if (target != UINT32_MAX)
                    pointer = std::string(pointerPrefix(kind)) + std::to_string(target) + pointer;
                kxJsonText text;
                text.beginObject();
                text.member("pointer", pointer);
                text.endObject();
                own.extensions.emplace_back("KHR_animation_pointer", text.str());
            }
            else if (target != UINT32_MAX)
                json.member("node", uint64_t(target));
            json.member("path", channel->_path.view());
            carried.write(json, channel->_targetUserData, own);
            json.endObject();
            carried.write(json, channel->_userData);
            json.endObject();
        }
    }
    json.endArray();
    carried.write(json, animation._userData);
    json.endObject();
}

} // namespace Kel::Gltf
