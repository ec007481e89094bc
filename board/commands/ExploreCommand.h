// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace VelrixBoard {

class Explorer;
struct FoundFailure;
struct ScenarioNames;
struct TrialSetup;

// "velrix-board explore": its options, and what it does.
class ExploreCommand final {
public:
    explicit ExploreCommand(CLI::App& app);
    ~ExploreCommand();
    ExploreCommand(const ExploreCommand&) = delete;
    ExploreCommand& operator=(const ExploreCommand&) = delete;

    bool IsGiven() const;

    // Prints the bounds instead of a search; needs no program.
    bool PrintsBounds() const;

    // The exit code: 0 without a failure, 1 with one, 128 and the signal's number when a signal ended the search
    // before. Throws CLI::ParseError, BoardError or ScenarioError.
    int Run(const std::vector<std::string>& program) const;

private:
    struct Arguments;

    TrialSetup Setup(const ScenarioNames& names, const std::vector<std::string>& program) const;
    static std::string TextOf(const FoundFailure& failure, const std::string& file, bool isKnown);
    std::string Summary(const Explorer& explorer) const;

    CLI::App* command;
    const std::unique_ptr<Arguments> arguments;
};

} // namespace VelrixBoard
