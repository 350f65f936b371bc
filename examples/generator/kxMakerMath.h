// Arithmetic whose results are the same on every machine: the four operations, the square root and rounding to a grid.
//
// The grids are powers of two, so that a rounded number is exact as a float and short in JSON. Sine and cosine are
// polynomials, because those of the C library differ in the last bit from one system to the next. The build forbids
// fused multiply-add for this folder, which would do the same.
#ifndef KX_MAKER_MATH_H
#define KX_MAKER_MATH_H

#include <cmath>
#include <cstdint>

namespace Kel::Examples
{

constexpr double kPositionGrid = 1024.0;     // cells per metre
constexpr double kDirectionGrid = 1048576.0; // normals, rotations, tangents of curves
constexpr double kTextureGrid = 4096.0;      // cells per tile

inline double onGrid(double value, double cells)
{
    return std::floor(value * cells + 0.5) / cells;
}

struct kxPoint
{
    double x = 0, y = 0, z = 0;

    kxPoint operator+(const kxPoint& other) const { return {x + other.x, y + other.y, z + other.z}; }
    kxPoint operator-(const kxPoint& other) const { return {x - other.x, y - other.y, z - other.z}; }
    kxPoint operator*(double factor) const { return {x * factor, y * factor, z * factor}; }
};

inline double dot(const kxPoint& a, const kxPoint& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline kxPoint cross(const kxPoint& a, const kxPoint& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// `vector` made one long; straight up when it has no length.
inline kxPoint normalized(const kxPoint& vector)
{
    const double length = std::sqrt(dot(vector, vector));
    return length > 0 ? vector * (1.0 / length) : kxPoint{0, 1, 0};
}

/// The sine of an angle given in full turns, good to nine digits.
inline double sineOfTurns(double turns)
{
    turns -= std::floor(turns + 0.5); // -0.5 .. 0.5
    if (turns > 0.25)
        turns = 0.5 - turns;
    if (turns < -0.25)
        turns = -0.5 - turns;
    const double x = turns * 6.283185307179586;
    const double xx = x * x;
    double term = x;
    double sum = x;
    for (int n = 2; n <= 16; n += 2)
    {
        term = -term * xx / (n * (n + 1));
        sum += term;
    }
    return sum;
}

inline double cosineOfTurns(double turns)
{
    return sineOfTurns(turns + 0.25);
}

struct kxRotation
{
    double x = 0, y = 0, z = 0, w = 1;

    kxRotation operator*(const kxRotation& other) const
    {
        return {w * other.x + x * other.w + y * other.z - z * other.y,
                w * other.y - x * other.z + y * other.w + z * other.x,
                w * other.z + x * other.y - y * other.x + z * other.w,
                w * other.w - x * other.x - y * other.y - z * other.z};
    }
};

/// `axis` has a length of one.
inline kxRotation rotationAbout(const kxPoint& axis, double turns)
{
    const double sine = sineOfTurns(turns * 0.5);
    return {axis.x * sine, axis.y * sine, axis.z * sine, cosineOfTurns(turns * 0.5)};
}

/// The rotation that turns -z, where cameras and lights look, towards `direction` without a roll. `direction` is
/// neither zero nor straight up or down.
inline kxRotation rotationTowards(const kxPoint& direction)
{
    const kxPoint back = normalized(direction * -1.0);
    const kxPoint right = normalized(cross({0, 1, 0}, back));
    // A heading about y, then a pitch about x: half angles from whole ones by square roots alone.
    const double cosineHeading = right.x;
    const double sinePitch = -back.y;
    const double cosinePitch = std::sqrt(1.0 - sinePitch * sinePitch);
    const double halfHeading = std::sqrt((1.0 - cosineHeading) * 0.5) * (right.z > 0 ? -1.0 : 1.0);
    const double halfPitch = std::sqrt((1.0 - cosinePitch) * 0.5) * (sinePitch < 0 ? -1.0 : 1.0);
    const kxRotation heading{0, halfHeading, 0, std::sqrt((1.0 + cosineHeading) * 0.5)};
    const kxRotation pitch{halfPitch, 0, 0, std::sqrt((1.0 + cosinePitch) * 0.5)};
    return heading * pitch;
}

/// Random numbers that are the same everywhere, which those of the standard library's distributions are not.
class kxMakerRandom
{
public:
    explicit kxMakerRandom(uint64_t seed) : m_state(seed) {}

    uint64_t next()
    {
        m_state += 0x9e3779b97f4a7c15u;
        uint64_t bits = m_state;
        bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9u;
        bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebu;
        return bits ^ (bits >> 31);
    }

    /// 0 to `count` - 1; `count` is above 0.
    uint32_t below(uint32_t count) { return static_cast<uint32_t>(((next() >> 32) * count) >> 32); }

    double between(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(next() >> 40) / 16777216.0);
    }

private:
    uint64_t m_state;
};

} // namespace Kel::Examples

#endif
