// Animation databases for tests: clips written as short text.
#pragma once

#include "opt/libKXOpt.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"
#include "tests/opt/testRun.h"

#include <cmath>
#include <random>

namespace Kel::Opt
{

constexpr int64_t kSecond = kxTransformSequence::kTicksPerSecond;

/// A database from the text of its clips, such as `Animation[trackList=(AnimationTrack "a"[source=...])]`.
inline kxSmartPointer<kxAnimationDatabase> parseClips(const std::string& clips, const std::string& more = "")
{
    libKXOpt_arkRegister();
    const auto object = Test::parseTestObject("AnimationDatabase[animationList=(" + clips + ")" + more + "]");
    return kxCast<kxAnimationDatabase>(object);
}

inline kxTransformSequence1_5* sequenceOf(kxAnimationDatabase& database, uint32_t track, uint32_t clip = 0)
{
    return kxCast<kxTransformSequence1_5>(database._animationList->get(clip)->getAnimationTrack(track)->getSource());
}

/// Rotation about an axis, for keys.
inline kxQuatf rotationAbout(const kxVec3f& axis, double angle)
{
    const kxVec3f unit = axis.normalized();
    return kxQuatf(static_cast<float>(std::cos(angle / 2)), unit * static_cast<float>(std::sin(angle / 2)));
}

/// A sequence with a key every thirtieth of a second, its values made by `fill(sequence, key)`.
template <class Fill>
kxSmartPointer<kxTransformSequence1_5> makeSequence(uint32_t flags, uint32_t keyCount, Fill fill)
{
    auto sequence = kxNew<kxTransformSequence1_5>();
    sequence->_keyFlags = flags;
    sequence->_times = kxNew<kxLongList>();
    sequence->_translations = kxNew<kxVec3fList>();
    sequence->_quaternions = kxNew<kxQuatfList>();
    for (uint32_t i = 0; i < keyCount; ++i)
    {
        sequence->_times->append(i * (kSecond / 30));
        fill(*sequence, i);
    }
    return sequence;
}

inline kxAnimation* addClip(kxAnimationDatabase& database)
{
    const auto clip = kxNew<kxAnimation>();
    database._animationList->append(clip);
    return clip;
}
inline void addTrack(kxAnimation* clip, const char* name, kxTransformSequence* source)
{
    const auto track = kxNew<kxAnimationTrack>();
    track->_name = kxStringRef(name);
    track->setSource(source);
    clip->_trackList->append(track);
}

} // namespace Kel::Opt
