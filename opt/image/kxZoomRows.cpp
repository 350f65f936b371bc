#include "opt/image/kxZoomRows.h"

#include "platform/gfx/kxVectorTarget.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Kel::Opt
{

namespace
{

using Gfx::hasWideVectors;

typedef float Float4 __attribute__((vector_size(16), aligned(4), may_alias));

/// Weight of a colour whose alpha is 0: too small to show beside any other, enough to tell the mean of colours that are all
/// transparent.
constexpr float kTransparentWeight = 1.0f / (1 << 18);

// Coded values of light, as displays define them.
double toLight(double coded)
{
    return coded <= 0.04045 ? coded / 12.92 : std::pow((coded + 0.055) / 1.055, 2.4);
}
double toCoded(double light)
{
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

const std::array<float, 256>& lightTable()
{
    static const auto table = []
    {
        std::array<float, 256> values;
        for (size_t i = 0; i < 256; ++i)
            values[i] = static_cast<float>(toLight(static_cast<double>(i) / 255) * 255);
        return values;
    }();
    return table;
}

/// Coded bytes of 65536 steps of light: at the dark end, where the curve is steepest, a step is a twentieth of a byte.
constexpr float kLightSteps = 65535;
const std::array<uint8_t, 65536>& codedTable()
{
    static const auto* table = []
    {
        auto* values = new std::array<uint8_t, 65536>;
        for (size_t i = 0; i < values->size(); ++i)
            (*values)[i] =
                static_cast<uint8_t>(std::clamp(toCoded(static_cast<double>(i) / kLightSteps) * 255 + 0.5, 0.0, 255.0));
        return values;
    }();
    return *table;
}

KX_ROW_BODY void fromBytesBody(const uint8_t* bytes, float* row, size_t pixelCount, const kxZoomCoding& coding)
{
    const size_t valueCount = pixelCount * coding.componentCount;
    if (!coding.isLinearLight)
        for (size_t i = 0; i < valueCount; ++i)
            row[i] = static_cast<float>(bytes[i]);
    else
    {
        const float* light = lightTable().data();
        const size_t colors = coding.componentCount - (coding.hasAlpha ? 1 : 0);
        if (colors == coding.componentCount)
            for (size_t i = 0; i < valueCount; ++i)
                row[i] = light[bytes[i]];
        else
            for (size_t i = 0; i < valueCount; i += coding.componentCount)
            {
                for (size_t c = 0; c < colors; ++c)
                    row[i + c] = light[bytes[i + c]];
                row[i + colors] = bytes[i + colors];
            }
    }
    if (coding.isWeightedByAlpha && coding.componentCount == 4)
        for (size_t i = 0; i < valueCount; i += 4)
        {
            const float weight = row[i + 3] * (1.0f / 255) + kTransparentWeight;
            row[i] *= weight;
            row[i + 1] *= weight;
            row[i + 2] *= weight;
        }
    else if (coding.isWeightedByAlpha)
        for (size_t i = 0; i < valueCount; i += 2)
            row[i] *= row[i + 1] * (1.0f / 255) + kTransparentWeight;
}

KX_ROW_BODY void addRowsBody(const float* const* rows, const float* weights, size_t rowCount, float* __restrict__ sum,
                             size_t valueCount)
{
    size_t k = 0;
    // Four rows at a time: the sum is read and written that much less.
    for (; k + 4 <= rowCount; k += 4)
    {
        const float *r0 = rows[k], *r1 = rows[k + 1], *r2 = rows[k + 2], *r3 = rows[k + 3];
        const float w0 = weights[k], w1 = weights[k + 1], w2 = weights[k + 2], w3 = weights[k + 3];
        if (k == 0)
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] = (w0 * r0[i] + w1 * r1[i]) + (w2 * r2[i] + w3 * r3[i]);
        else
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] += (w0 * r0[i] + w1 * r1[i]) + (w2 * r2[i] + w3 * r3[i]);
    }
    if (k + 2 <= rowCount)
    {
        const float *r0 = rows[k], *r1 = rows[k + 1];
        const float w0 = weights[k], w1 = weights[k + 1];
        if (k == 0)
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] = w0 * r0[i] + w1 * r1[i];
        else
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] += w0 * r0[i] + w1 * r1[i];
        k += 2;
    }
    if (k < rowCount)
    {
        const float* r0 = rows[k];
        const float w0 = weights[k];
        if (k == 0)
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] = w0 * r0[i];
        else
            for (size_t i = 0; i < valueCount; ++i)
                sum[i] += w0 * r0[i];
    }
}

KX_ROW_BODY Float4 load4(const float* at)
{
    return *reinterpret_cast<const Float4*>(at);
}

template <uint32_t ComponentCount>
KX_ROW_BODY void resampleRowOf(const float* row, float* target, const kxZoomRuns& runs)
{
    for (const kxZoomRun& run : runs.runs)
    {
        const float* from = row + size_t(run.first) * ComponentCount;
        const float* weights = runs.weights.data() + run.weightAt;
        Float4 sum = {}, other = {};
        if constexpr (ComponentCount >= 3)
        {
            uint32_t k = 0;
            for (; k + 2 <= run.count; k += 2, from += 2 * ComponentCount)
            {
                sum += load4(from) * weights[k];
                other += load4(from + ComponentCount) * weights[k + 1];
            }
            if (k < run.count)
                sum += load4(from) * weights[k];
            sum += other;
            // With three components the fourth value is written over by the next pixel.
            *reinterpret_cast<Float4*>(target) = sum;
        }
        else
        {
            for (uint32_t k = 0; k < run.count * ComponentCount; k += 4)
                sum += load4(from + k) * load4(weights + k);
            if constexpr (ComponentCount == 2)
            {
                target[0] = sum[0] + sum[2];
                target[1] = sum[1] + sum[3];
            }
            else
                target[0] = (sum[0] + sum[1]) + (sum[2] + sum[3]);
        }
        target += ComponentCount;
    }
}

KX_ROW_BODY void resampleRowBody(const float* row, float* target, const kxZoomRuns& runs, uint32_t componentCount)
{
    switch (componentCount)
    {
    case 1: return resampleRowOf<1>(row, target, runs);
    case 2: return resampleRowOf<2>(row, target, runs);
    case 3: return resampleRowOf<3>(row, target, runs);
    default: return resampleRowOf<4>(row, target, runs);
    }
}

KX_ROW_BODY void divideByAlpha(float* row, size_t valueCount, size_t componentCount)
{
    const size_t colors = componentCount - 1;
    for (size_t i = 0; i < valueCount; i += componentCount)
    {
        // Lobes below 0 can bring the sum of weights to nothing; what shows there is transparent anyway.
        const float weight = std::max(row[i + colors] * (1.0f / 255) + kTransparentWeight, kTransparentWeight / 4);
        const float scale = 1 / weight;
        for (size_t c = 0; c < colors; ++c)
            row[i + c] *= scale;
    }
}

KX_ROW_BODY void makeUnitLength(float* row, size_t valueCount, size_t componentCount)
{
    for (size_t i = 0; i < valueCount; i += componentCount)
    {
        const float x = row[i] - 127.5f, y = row[i + 1] - 127.5f, z = row[i + 2] - 127.5f;
        const float length = std::sqrt(x * x + y * y + z * z);
        if (length < 1)
            continue; // directions that cancel out have none
        const float scale = 127.5f / length;
        row[i] = x * scale + 127.5f;
        row[i + 1] = y * scale + 127.5f;
        row[i + 2] = z * scale + 127.5f;
    }
}

KX_ROW_BODY void toBytesBody(float* row, uint8_t* bytes, size_t pixelCount, const kxZoomCoding& coding)
{
    const size_t valueCount = pixelCount * coding.componentCount;
    if (coding.isWeightedByAlpha)
        divideByAlpha(row, valueCount, coding.componentCount);
    if (coding.isDirection)
        makeUnitLength(row, valueCount, coding.componentCount);
    const auto rounded = [](float value)
    { return static_cast<uint8_t>(static_cast<int32_t>(std::min(std::max(value, 0.0f), 255.0f) + 0.5f)); };
    if (!coding.isLinearLight)
    {
        for (size_t i = 0; i < valueCount; ++i)
            bytes[i] = rounded(row[i]);
        return;
    }
    const uint8_t* coded = codedTable().data();
    const size_t colors = coding.componentCount - (coding.hasAlpha ? 1 : 0);
    const auto codedOf = [coded](float light)
    {
        const float step = std::min(std::max(light, 0.0f), 255.0f) * (kLightSteps / 255) + 0.5f;
        return coded[static_cast<uint32_t>(step)];
    };
    if (colors == coding.componentCount)
        for (size_t i = 0; i < valueCount; ++i)
            bytes[i] = codedOf(row[i]);
    else
        for (size_t i = 0; i < valueCount; i += coding.componentCount)
        {
            for (size_t c = 0; c < colors; ++c)
                bytes[i + c] = codedOf(row[i + c]);
            bytes[i + colors] = rounded(row[i + colors]);
        }
}

#define KX_BOTH_FORMS(Name, Parameters, Arguments)                                                                     \
    void Name##Plain Parameters                                                                                        \
    {                                                                                                                  \
        Name##Body Arguments;                                                                                          \
    }                                                                                                                  \
    KX_WIDE_VECTORS void Name##Wide Parameters                                                                         \
    {                                                                                                                  \
        Name##Body Arguments;                                                                                          \
    }

KX_BOTH_FORMS(fromBytes, (const uint8_t* bytes, float* row, size_t pixelCount, const kxZoomCoding& coding),
              (bytes, row, pixelCount, coding))
KX_BOTH_FORMS(addRows, (const float* const* rows, const float* weights, size_t rowCount, float* sum, size_t valueCount),
              (rows, weights, rowCount, sum, valueCount))
KX_BOTH_FORMS(resampleRow, (const float* row, float* target, const kxZoomRuns& runs, uint32_t componentCount),
              (row, target, runs, componentCount))
KX_BOTH_FORMS(toBytes, (float* row, uint8_t* bytes, size_t pixelCount, const kxZoomCoding& coding),
              (row, bytes, pixelCount, coding))
#undef KX_BOTH_FORMS

} // namespace

const kxZoomRowFunctions& getZoomRowFunctions()
{
    static const kxZoomRowFunctions plain = {fromBytesPlain, addRowsPlain, resampleRowPlain, toBytesPlain};
    static const kxZoomRowFunctions wide = {fromBytesWide, addRowsWide, resampleRowWide, toBytesWide};
    return hasWideVectors() ? wide : plain;
}

} // namespace Kel::Opt
