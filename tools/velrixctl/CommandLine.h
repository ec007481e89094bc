// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/velrixctl/CommandTable.h"

namespace VelrixTools {

// The words of the user, by the names of the table's arguments and options.
class CommandLine final {
public:
    // CommandError for what the table does not have. "--help" and "--version" become the commands "help" and "version".
    CommandLine(int argc, const char* const* argv);

    const CommandRow& Command() const { return *command; }

    bool Has(const std::string& name) const { return values.contains(name); }

    // The last value; empty where it is not given.
    std::string Value(const std::string& name) const;
    std::vector<std::string> Values(const std::string& name) const;

    // A whole number of an option, from least to most.
    long long Number(const std::string& option, long long otherwise, long long least, long long most) const;

private:
    void Parse(std::vector<std::string> words);
    // The words that are neither options nor their values.
    std::vector<std::string> TakeOptions(std::vector<std::string> words);
    void CheckArguments() const;

    const CommandRow* command = nullptr;
    std::map<std::string, std::vector<std::string>> values;
};

} // namespace VelrixTools
