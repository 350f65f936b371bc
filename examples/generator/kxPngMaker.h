#ifndef KX_PNG_MAKER_H
#define KX_PNG_MAKER_H

#include "kxSceneMaker.h"

namespace Kel::Examples
{

/// `image` as a PNG file in memory, true colour with or without alpha.
///
/// The compression is done here and not by a library, whose bytes change with its version: the scenes that hold these
/// files are compared byte by byte. It is meant for pictures of few colours and large even areas.
std::vector<uint8_t> makePng(const kxSceneImage& image);

} // namespace Kel::Examples

#endif
