// Scenes of a known shape for the benchmarks, as graphs of node classes.
#pragma once

#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxSceneInfo.h"

#include <string>

namespace Kel::Bench
{

using namespace Kel::Core;
using namespace Kel::Sg;

/// A scene made by the generator of the examples, without going through a file: one transform or group for each node of
/// its plan and, where the node draws, an attribute set with the node's material above the geometry (both shared).
/// `shape` is city, chain or star; null for another.
kxSmartPointer<kxSceneInfo> makeBenchScene(const std::string& shape, uint32_t nodeCount);

/// An array of `count` elements side by side, copied from `values`.
kxSmartPointer<Attrs::kxVertexArray> makeArray(const char* semantic, Attrs::kxComponentType type, uint32_t components,
                                               const void* values, size_t count);

/// Bytes of the vertex data in the graph, each array once.
uint64_t countVertexBytes(kxNode* root);

} // namespace Kel::Bench
