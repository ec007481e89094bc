// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VelrixTools {

// The known name that was probably meant: the one with the fewest typing errors (a letter too many, too few, wrong, or
// two swapped; upper or lower case is none), if these are at most a third of the name's letters and at most three.
// Among equals the first. Empty: none is near.
std::string FindSimilar(std::string_view name, const std::vector<std::string>& known);

} // namespace VelrixTools
