// Do two files show the same picture?
#pragma once

#include "opt/verify/kxPictureComparison.h"
#include "platform/core/kxFileOptions.h"

namespace Kel::Opt
{

enum class kxPictureAnswer
{
    SAME,
    DIFFERENT,
    TROUBLE ///< a file could not be loaded, or has more paths than can be followed; the reason has been reported
};

/// What a comparison of two files found.
struct kxPictureResult
{
    kxPictureAnswer answer = kxPictureAnswer::TROUBLE;
    std::vector<std::string> lines; ///< the first differences, and how many more there are
    size_t drawCountA = 0;
    size_t drawCountB = 0;
    size_t onlyInA = 0; ///< draws of the first file that the second one lacks
    size_t onlyInB = 0;
};

/// Compares what all scenes of two files show, cameras and lights included, and what their clips show over time. Each file is let go of when its list has
/// been made, so that one at a time is in memory.
/// `fileOptions` are for loading; null for the defaults.
kxPictureResult comparePictures(const char* pathA, const char* pathB, const kxPictureComparison::Options& options,
                                size_t maxLines = 20, kxFileOptions* fileOptions = nullptr);

} // namespace Kel::Opt
