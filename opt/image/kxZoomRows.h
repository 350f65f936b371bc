// The inner loops of resizing, on rows of floating-point components.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kel::Opt
{

/// Contributors of one new pixel: a run of old ones and their weights, laid out for the row functions.
struct kxZoomRun
{
    uint32_t first;  ///< old column or row
    uint32_t count;  ///< of old columns or rows
    size_t weightAt; ///< place of the first weight
};

/// Weights of all new columns. The layout follows the number of components: four weights make one step of one pixel with 3 or 4
/// components, of two pixels with 2, of four with 1.
struct kxZoomRuns
{
    std::vector<kxZoomRun> runs;
    std::vector<float> weights;
};

/// Components that lie behind a row of floats, so that steps of four may read and write beyond its end.
constexpr size_t kZoomRowPadding = 16;

/// How bytes become floats and floats bytes again.
struct kxZoomCoding
{
    uint32_t componentCount; ///< 1 to 4
    bool isLinearLight;      ///< for the components that are no alpha
    bool isWeightedByAlpha;  ///< the last component is an alpha that weighs the others
    bool isDirection;        ///< the first three are a direction
    bool hasAlpha;           ///< the last component is an alpha
};

struct kxZoomRowFunctions
{
    void (*fromBytes)(const uint8_t* bytes, float* row, size_t pixelCount, const kxZoomCoding& coding);
    /// The weighted sum of `rowCount` rows of `valueCount` floats.
    void (*addRows)(const float* const* rows, const float* weights, size_t rowCount, float* sum, size_t valueCount);
    /// Every new pixel of a row from its contributors.
    void (*resampleRow)(const float* row, float* target, const kxZoomRuns& runs, uint32_t componentCount);
    void (*toBytes)(float* row, uint8_t* bytes, size_t pixelCount, const kxZoomCoding& coding);
};

/// The functions for this machine; the same results on every machine.
const kxZoomRowFunctions& getZoomRowFunctions();

} // namespace Kel::Opt
