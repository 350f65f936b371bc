// What a scene shows, worked out in the plainest way: the judge of every test that changes a scene.
#pragma once

#include "platform/sg/kxNode.h"

#include <string>
#include <vector>

namespace Kel::Test
{

using namespace Kel::Sg;

/// One thing drawn on one path from the root: vertex data, a camera or a light.
struct PlainDraw
{
    /// The thing, the attributes in effect and what the path asks for (switch children, distance ranges and the like), as
    /// text. Names do not count.
    std::string what;
    /// The matrix of the path, then those of the nodes on the path that `what` speaks of.
    std::vector<double> numbers;
};

/// Everything that is drawn at and below `root`, in the order of the paths. The graph must be free of cycles. Recursive, and
/// linear in the paths' lengths: for the small scenes of tests.
///
/// Of attributes of one type and unit the last on the path counts, but the first of those that override attribute sets
/// hold. All vertex data of a geometry are drawn.
std::vector<PlainDraw> drawList(const kxNode* root);

/// What one list has and the other has not, compared as multisets, numbers within 1e-5 of the largest one of their matrix;
/// empty when they show the same.
std::string compareDrawLists(const std::vector<PlainDraw>& before, const std::vector<PlainDraw>& after);

} // namespace Kel::Test
