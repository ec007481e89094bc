// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace VelrixBoard {

// The heading of the option "--set" in the help; empty for one that is in no group.
std::string GroupOf(std::string_view option);

// The option's place among all. Those in no group come last.
std::size_t PlaceOf(std::string_view option);

} // namespace VelrixBoard
