#include "kxVillageClips.h"

#include <cmath>

namespace Kel::Examples
{

namespace
{

void appendRotation(std::vector<float>& values, const kxRotation& rotation)
{
    for (const double value : {rotation.x, rotation.y, rotation.z, rotation.w})
        values.push_back(static_cast<float>(onGrid(value, kDirectionGrid)));
}

/// Turns +x, where a bow points, towards `course`.
kxRotation courseHeading(const kxPoint& course)
{
    const kxPoint direction = normalized(course);
    const double half = std::sqrt((1 - direction.x) / 2);
    return {0, direction.z > 0 ? -half : half, 0, std::sqrt((1 + direction.x) / 2)};
}

/// Between two rotations about y, the short way round.
kxRotation blended(const kxRotation& from, const kxRotation& to, double part)
{
    const double sign = from.y * to.y + from.w * to.w < 0 ? -1 : 1;
    const double y = from.y * (1 - part) + to.y * part * sign, w = from.w * (1 - part) + to.w * part * sign;
    const double length = std::sqrt(y * y + w * w);
    return {0, y / length, 0, w / length};
}

} // namespace

kxRotation headingOf(double turns)
{
    return rotationAbout({0, 1, 0}, turns);
}

kxSceneChannel turnRound(int32_t node)
{
    kxSceneChannel turning{node, "rotation", "LINEAR", {}, {}};
    for (int key = 0; key <= 32; ++key)
    {
        turning.times.push_back(static_cast<float>(key * 0.25));
        appendRotation(turning.values, headingOf(key / 32.0));
    }
    return turning;
}

std::vector<kxSceneChannel> sailRound(int32_t boat)
{
    const kxPoint marks[] = {{-25, 0, 58}, {25, 0, 50}, {38, 0, 74}, {-12, 0, 84}};
    constexpr int kKeysPerCourse = 48, kKeysPerTurn = 6;
    kxSceneChannel position{boat, "translation", "LINEAR", {}, {}};
    kxSceneChannel heading{boat, "rotation", "LINEAR", {}, {}};
    kxSceneChannel size{boat, "scale", "LINEAR", {}, {}};
    kxRotation last;
    for (int key = 0; key <= 4 * kKeysPerCourse; ++key)
    {
        const int course = key / kKeysPerCourse % 4, step = key % kKeysPerCourse;
        const kxPoint &from = marks[course], &to = marks[(course + 1) % 4];
        const kxPoint place = from + (to - from) * (static_cast<double>(step) / kKeysPerCourse);
        kxRotation wanted = courseHeading(to - from);
        if (step < kKeysPerTurn)
        {
            const kxRotation before = courseHeading(from - marks[(course + 3) % 4]);
            wanted = blended(before, wanted, static_cast<double>(step) / kKeysPerTurn);
        }
        if (wanted.w * last.w + wanted.y * last.y < 0) // the same rotation from its other side
            wanted = {0, -wanted.y, 0, -wanted.w};
        last = wanted;
        for (kxSceneChannel* channel : {&position, &heading, &size})
            channel->times.push_back(static_cast<float>(key * 0.25));
        for (const double value : {place.x, place.y, place.z})
            position.values.push_back(static_cast<float>(onGrid(value, kPositionGrid)));
        appendRotation(heading.values, wanted);
        size.values.insert(size.values.end(), {1, 1, 1});
    }
    return {position, heading, size};
}

std::vector<kxSceneChannel> flyRound(int32_t pivot, int32_t bird, int gull)
{
    kxSceneChannel round{pivot, "rotation", "LINEAR", {}, {}};
    for (int key = 0; key <= 8; ++key)
    {
        round.times.push_back(static_cast<float>(key * 1.5));
        appendRotation(round.values, headingOf(gull * 0.1875 + key / 8.0));
    }
    kxSceneChannel beat{bird, "weights", "LINEAR", {}, {}};
    for (int key = 0; key <= 24; ++key)
    {
        beat.times.push_back(static_cast<float>(key * 0.5));
        beat.values.push_back(key % 2 == 0 ? 0.0f : 1.0f);
    }
    // On a curve: every key has its tangents.
    kxSceneChannel rise{bird, "translation", "CUBICSPLINE", {}, {}};
    for (int key = 0; key <= 4; ++key)
    {
        rise.times.push_back(static_cast<float>(key * 3.0));
        const float height = key % 2 == 0 ? 0.0f : 1.5f;
        rise.values.insert(rise.values.end(), {0, 0, 0, 0, height, 7.0f + static_cast<float>(gull), 0, 0, 0});
    }
    return {round, beat, rise};
}

kxSceneChannel waveJoint(int32_t node, int joint)
{
    kxSceneChannel wave{node, "rotation", "LINEAR", {}, {}};
    for (int key = 0; key <= 16; ++key)
    {
        wave.times.push_back(static_cast<float>(key * 0.125));
        const double swing = 0.03 + 0.02 * joint;
        appendRotation(wave.values, headingOf(swing * sineOfTurns(key / 16.0 - joint * 0.25)));
    }
    return wave;
}

} // namespace Kel::Examples
