// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace VelrixBoard::Preload {

// The steps of a program on the fake board, by name. Each prints the results of its calls.
struct Step {
    const char* name;
    void (*run)(const std::string& argument);
};

std::vector<Step> PathSteps();
std::vector<Step> ValueSteps();
std::vector<Step> WaitSteps();
std::vector<Step> ProcessSteps();

// The result of a call: a number, or the error's name.
std::string Of(long long result);
std::string Of(const void* result); // "there", or the error's name
std::string Of(const char* result); // the text, or the error's name

// Prints the results with spaces between them, and a line feed.
void Print(const std::vector<std::string>& results);

} // namespace VelrixBoard::Preload
