// Reading animations.
#include "interop/gltf/kxGltfAnimation.h"

#include "platform/sg/kxMesh.h"

#include <array>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kAnimationMembers[] = {"name", "channels", "samplers"};
constexpr std::string_view kSamplerMembers[] = {"input", "output", "interpolation"};
constexpr std::string_view kChannelMembers[] = {"sampler", "target"};
constexpr std::string_view kTargetMembers[] = {"node", "path"};
constexpr std::string_view kTargetExtensions[] = {"KHR_animation_pointer/pointer"};
const kxKnownKeys kAnimationKeys = {"animation", kAnimationMembers, {}};
const kxKnownKeys kSamplerKeys = {"animation sampler", kSamplerMembers, {}};
const kxKnownKeys kChannelKeys = {"channel", kChannelMembers, {}};
const kxKnownKeys kTargetKeys = {"channel target", kTargetMembers, kTargetExtensions};

// Lists of the scene count with 32 bits; a spline has three values for a key.
constexpr int64_t kMaxKeys = INT32_MAX / 3;

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

struct kxGltfAnimationReader::Sampler
{
    const kxVertexArray* input = nullptr;
    const kxVertexArray* output = nullptr;
    kxStringRef interpolation;
    kxSmartPointer<kxUserData> userData;
    bool isUsed = false;
    std::array<kxSmartPointer<kxTransformSequence>, size_t(kxGltfKeyKind::COUNT)> sequences;

    bool isCubic() const { return interpolation.view() == "CUBICSPLINE"; }
};

struct kxGltfAnimationReader::Channel
{
    const kxJsonValue* json = nullptr;
    const kxJsonValue* targetJson = nullptr;
    Sampler* sampler = nullptr;
    kxGltfKeyKind kind = kxGltfKeyKind::VALUES;
    kxObject* target = nullptr;
    kxStringRef property; // path, or what a pointer names below its target
    bool hasPointer = false;
};

namespace
{

// The part of a transform that a property of a node is.
kxGltfKeyKind kindOf(std::string_view property)
{
    return property == "translation" ? kxGltfKeyKind::TRANSLATION
           : property == "rotation"  ? kxGltfKeyKind::ROTATION
           : property == "scale"     ? kxGltfKeyKind::SCALE
                                     : kxGltfKeyKind::VALUES;
}

// What is wrong with keys; null when nothing is.
const char* faultOf(const kxVertexArray* input, const kxVertexArray* output, bool cubic, kxGltfKeyKind kind)
{
    if (!input || !output)
        return "animation channels without keys are left out";
    if (input->_componentType != kxComponentType::FLOAT32 || input->_componentCount != 1)
        return "animation channels with times that are no floats are left out";
    const int64_t keys = input->_count;
    if (keys > kMaxKeys)
        return "animation channels with too many keys are left out";
    const int64_t values = cubic ? keys * 3 : keys;
    // A key of weights has one value for each morph target, one of a pointer's property maybe as well.
    const uint32_t components = kind == kxGltfKeyKind::VALUES ? 0 : kind == kxGltfKeyKind::ROTATION ? 4 : 3;
    if (keys == 0 || output->_count < values || output->_count % values != 0 ||
        (components && output->_count != values))
        return "animation channels with keys and values of different number are left out";
    if (components && (output->_componentCount != components || output->_matrix))
        return "animation channels with values of an impossible type are left out";
    if (cubic && keys < 2)
        return "animation channels with a spline of a single key are left out";
    return nullptr;
}

// The lists of transforms hold floats, rotations also what stands for fractions.
bool isListable(const kxVertexArray& output, kxGltfKeyKind kind)
{
    return output._componentType == kxComponentType::FLOAT32 ||
           (kind == kxGltfKeyKind::ROTATION && output._normalized && output._componentType != kxComponentType::UINT32);
}

} // namespace

kxGltfAnimationReader::kxGltfAnimationReader(kxAnimationDatabase& database, kxGltfArrays& arrays,
                                             const kxGltfObjects& objects, kxGltfCarriedReader& carried,
                                             kxGltfFaults& faults)
    : m_database(database), m_arrays(arrays), m_objects(objects), m_carried(carried), m_faults(faults)
{
    for (const kxSkeleton* skeleton : *database._skeletonList)
        for (const kxNode* bone : *skeleton->_bones)
            m_isJoint[bone] = true;
}

bool kxGltfAnimationReader::read(const kxJsonValue& json, uint32_t index, kxAnimation& animation)
{
    const std::string where = kxFormat("animation %u", index);
    animation._userData = m_carried.read(json, kAnimationKeys);
    const kxJsonValue* samplerList = findMember(json, "samplers");
    const kxJsonValue* channelList = findMember(json, "channels");
    if (!samplerList || !channelList || !samplerList->IsArray() || !channelList->IsArray())
    {
        m_faults.warn("animation has no list of channels or samplers", where);
        return true;
    }
    std::vector<Sampler> samplers(samplerList->Size());
    for (uint32_t i = 0; i < samplerList->Size(); ++i)
        if (!readSampler((*samplerList)[i], samplers[i]))
            return false;
    std::vector<Channel> channels;
    for (auto at = channelList->Begin(); at != channelList->End(); ++at)
    {
        Channel channel;
        if (const char* fault = readChannel(*at, samplers, channel))
            m_faults.warn(fault, where);
        else
            channels.push_back(channel);
    }

    // In the order of the samplers, which that of the channels need not be.
    for (Channel& channel : channels)
    {
        const auto kind = static_cast<size_t>(channel.kind);
        channel.sampler->isUsed = true;
        channel.sampler->sequences[kind] = kxNew<kxTransformSequence>(); // stands for one to be made
    }
    for (Sampler& sampler : samplers)
    {
        if (!sampler.isUsed)
            m_faults.warn("animation samplers that no channel uses are left out", where);
        for (size_t kind = 0; kind < sampler.sequences.size(); ++kind)
            if (sampler.sequences[kind])
                sampler.sequences[kind] = makeSequence(sampler, static_cast<kxGltfKeyKind>(kind));
    }
    for (const Channel& channel : channels)
    {
        auto track = kxNew<kxAnimationTrack>();
        track->setSource(channel.sampler->sequences[static_cast<size_t>(channel.kind)]);
        track->_target = channel.target;
        track->_property = channel.kind == kxGltfKeyKind::VALUES ? channel.property : kxStringRef();
        track->_hasPointer = channel.hasPointer;
        track->_userData = m_carried.read(*channel.json, kChannelKeys);
        track->_targetUserData = m_carried.read(*channel.targetJson, kTargetKeys);
        const bool isBone = Gltf::kindOf(channel.target) == kxGltfKind::NODE;
        if (isBone)
            track->_name = static_cast<const kxNode*>(channel.target)->getName();
        (isBone ? animation._trackList : animation._propertyTrackList)->append(track);
    }
    addSkeleton(animation);
    return true;
}

bool kxGltfAnimationReader::readSampler(const kxJsonValue& json, Sampler& sampler)
{
    static const kxStringRef kInput("ANIMATION_INPUT"), kOutput("ANIMATION_OUTPUT");
    if (!json.IsObject())
        return true;
    uint32_t accessor = 0;
    if (const kxJsonValue* input = findMember(json, "input"); input && readIndex(*input, accessor))
        sampler.input = m_arrays.get(accessor, kInput);
    if (const kxJsonValue* output = findMember(json, "output"); output && readIndex(*output, accessor))
        sampler.output = m_arrays.get(accessor, kOutput);
    if (const std::string_view interpolation = stringMember(json, "interpolation"); !interpolation.empty())
        sampler.interpolation = kxStringRef(interpolation);
    sampler.userData = m_carried.read(json, kSamplerKeys);
    return !m_faults.isRefused();
}

// What is wrong with a channel; null when nothing is.
const char* kxGltfAnimationReader::readChannel(const kxJsonValue& json, std::vector<Sampler>& samplers,
                                               Channel& channel)
{
    uint32_t number = 0;
    const kxJsonValue* named = findMember(json, "sampler");
    const kxJsonValue* target = findMember(json, "target");
    if (!named || !readIndex(*named, number) || number >= samplers.size() || !target || !target->IsObject())
        return "animation channels without sampler or target are left out";
    channel.json = &json;
    channel.targetJson = target;
    Sampler& sampler = samplers[number];
    channel.sampler = &sampler;
    const std::string_view path = stringMember(*target, "path");
    if (const char* fault = faultOf(sampler.input, sampler.output, sampler.isCubic(), kindOf(path)))
        return fault;
    channel.property = kxStringRef(path);
    if (const kxJsonValue* node = findMember(*target, "node"))
    {
        channel.target = readIndex(*node, number) ? m_objects.find(kxGltfKind::NODE, number) : nullptr;
        if (!channel.target)
            return "animation channels of nodes that do not exist are left out";
        channel.kind = kindOf(path);
    }
    if (const kxJsonValue* pointer = pointerOf(*target))
    {
        kxGltfKind kind;
        std::string_view rest = textOf(*pointer);
        channel.hasPointer = true;
        channel.kind = kxGltfKeyKind::VALUES;
        const bool isNumbered = splitPointer(textOf(*pointer), kind, number, rest);
        channel.target = isNumbered ? m_objects.find(kind, number) : nullptr;
        // Kept as text it would name whatever has that number when the file is written.
        if (isNumbered && !channel.target)
            return "animation channels with pointers to what does not exist are left out";
        if (!channel.target)
            rest = textOf(*pointer);
        else if (kind == kxGltfKind::NODE && rest.size() > 1)
            channel.kind = kindOf(rest.substr(1));
        channel.property = kxStringRef(rest);
    }
    // Keys that no list of transforms can hold are numbers like any others.
    if (faultOf(sampler.input, sampler.output, sampler.isCubic(), channel.kind) ||
        !isListable(*sampler.output, channel.kind))
        channel.kind = kxGltfKeyKind::VALUES;
    return nullptr;
}

kxSmartPointer<kxTransformSequence> kxGltfAnimationReader::makeSequence(const Sampler& sampler, kxGltfKeyKind kind)
{
    kxSmartPointer<kxTransformSequence> sequence;
    auto form = kxNew<kxGltfKeyForm>();
    form->_interpolation = sampler.interpolation;
    form->_timeForm = m_keys.getForm(sampler.input, true);
    if (kind == kxGltfKeyKind::VALUES)
    {
        auto values = kxNew<kxValueSequence>();
        values->_values = const_cast<kxVertexArray*>(sampler.output);
        sequence = values;
    }
    else
    {
        auto transforms = kxNew<kxTransformSequence1_5>();
        form->_valueForm = m_keys.getForm(sampler.output, false);
        switch (kind)
        {
        case kxGltfKeyKind::TRANSLATION:
            transforms->_keyFlags = kxTransformSequence::HAS_TRANSLATIONS;
            transforms->_translations = m_keys.getVectors(sampler.output);
            break;
        case kxGltfKeyKind::ROTATION:
            transforms->_keyFlags = kxTransformSequence::HAS_QUATERNIONS;
            transforms->_quaternions = m_keys.getQuaternions(sampler.output);
            break;
        default: transforms->_scales = m_keys.getVectors(sampler.output);
        }
        sequence = transforms;
    }
    if (sampler.isCubic())
        sequence->_keyFlags |= kxTransformSequence::CUBIC_SPLINE;
    else if (sampler.interpolation.view() == "STEP")
        sequence->_keyFlags |= kxTransformSequence::STEP;
    sequence->_times = m_keys.getTimes(sampler.input);
    sequence->_fileForm = form;
    sequence->_userData = sampler.userData;
    return sequence;
}

// Plain nodes that clips move are bones too, of a skeleton of the clip, so that its tracks are those of bones.
void kxGltfAnimationReader::addSkeleton(const kxAnimation& animation)
{
    std::vector<const kxNode*> bones;
    kxTSerialMap<bool> isListed;
    for (const kxAnimationTrack* track : *animation.getTrackList())
    {
        const auto* node = static_cast<const kxNode*>(track->_target.get());
        if (!m_isJoint.get(node) && !std::exchange(isListed[node], true))
            bones.push_back(node);
    }
    if (bones.empty())
        return;
    const kxSkeleton*& known = m_skeletons[bones];
    if (known)
        return; // clips that move the same nodes have one skeleton
    auto skeleton = kxNew<kxSkeleton>();
    skeleton->_name = animation._name;
    for (const kxNode* bone : bones)
        skeleton->_bones->append(const_cast<kxNode*>(bone));
    m_database._skeletonList->append(skeleton);
    known = skeleton;
}

} // namespace Kel::Gltf
