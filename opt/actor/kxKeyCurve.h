// May keys go?
#pragma once

#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"

#include <span>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Sg;

/// The values of one list of keys over time, and how far from them what is drawn would be if keys went.
class kxKeyCurve
{
public:
    enum Metric
    {
        DISTANCE,    ///< of vectors
        EACH_NUMBER, ///< the largest difference of any number
        ROTATION     ///< angle in radians
    };

    /// Curves of vectors, rotations and numbers; the sequence is well formed. `times` are those of its keys, in seconds,
    /// and outlive the curve.
    static kxKeyCurve ofVectors(const kxTransformSequence& sequence, const kxVec3fList& list,
                                std::span<const double> times, double tolerance);
    static kxKeyCurve ofRotations(const kxTransformSequence& sequence, const kxQuatfList& list,
                                  std::span<const double> times, double tolerance);
    static kxKeyCurve ofNumbers(const kxValueSequence& sequence, std::span<const double> times, double tolerance);

    /// How far the curve is at most, at any time between key `a` and key `b`, from the one without the keys between them;
    /// infinite as soon as it is clear that this is more than the tolerance. Between keys the answer is a bound that is never
    /// too small. Cost: a few operations for each key and number.
    double getError(uint32_t a, uint32_t b) const;

    Metric getMetric() const { return m_metric; }

private:
    enum Interpolation
    {
        LINEAR,
        STEP,
        SPLINE
    };
    kxKeyCurve(Metric metric, const kxTransformSequence& sequence, std::span<const double> times, uint32_t width,
               double tolerance);

    void finishRotations();
    const double* valueAt(uint32_t key) const { return m_values.data() + size_t(key) * m_width; }
    double getStepError(uint32_t a, uint32_t b) const;
    double getLinearError(uint32_t a, uint32_t b) const;
    double getArcError(uint32_t a, uint32_t b) const;
    double getSplineError(uint32_t a, uint32_t b) const;
    double differenceOf(const double* a, const double* b) const;

    Metric m_metric;
    Interpolation m_interpolation;
    std::span<const double> m_times;
    uint32_t m_width; // numbers of a value
    double m_tolerance;
    std::vector<double> m_values;
    std::vector<double> m_tangentsBefore, m_tangentsBehind; // of splines, per second
    std::vector<double> m_arcs; // of linear rotations: half the angle from each key to the next
};

/// Numbers of the keys that stay so that no curve is further off than its tolerance: the first and the last, and of the others
/// as few as a walk from the first to the last finds; none of them could go alone. All curves have the same keys.
/// Cost: n log n for n keys.
std::vector<uint32_t> reduceKeys(std::span<const kxKeyCurve* const> curves, uint32_t keyCount);

} // namespace Kel::Opt
