// What a run came to, for people.
#pragma once

#include "tools/kxopt/kxRunReport.h"

#include <string>
#include <vector>

namespace Kel::Tool
{

/// Two tables: the steps with what they counted and what they left alone, then what the scene holds before and after the run.
/// Amounts of nothing on both sides are left out.
std::string describeRun(const std::vector<kxRunReport::Step>& steps, const kxRunReport::Summary& summary);

} // namespace Kel::Tool
