// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace VelrixTools {

// The text with every occurrence replaced, from left to right. what: not empty.
std::string Replaced(std::string text, const std::string& what, const std::string& with);

// The words with the separator between them.
std::string Joined(const std::vector<std::string>& words, const char* separator = " ");

} // namespace VelrixTools
