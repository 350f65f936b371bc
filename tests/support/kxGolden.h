// Texts that are compared whole with a file of the tree.
#pragma once

#include <string>

namespace Kel::Test
{

/// Compares `text` with tests/golden/NAME and shows the first line that differs. With KXOPT_ACCEPT=1 in the environment
/// (`scripts/test --accept`) the file is rewritten instead; what is new in it is read in the change, like code.
void expectGolden(const char* name, const std::string& text);

} // namespace Kel::Test
