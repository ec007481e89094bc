// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/base/FileDescriptor.h"
#include "board/explore/Circumstance.h"

namespace VelrixBoard {

// What all runs of a search have in common.
struct TrialSetup {
    std::string board;                  // the command velrix-board
    std::vector<std::string> options;   // of its "run", besides the scenario's
    std::string scenario;               // that judges the runs; empty: none
    std::optional<ScenarioTime> length; // the program is asked to end then; nothing: the scenario ends the run
    std::vector<std::string> program;
    std::chrono::seconds limit{60}; // by the machine's time, for a run that hangs
};

// How a run ended.
struct TrialResult {
    // What failed, without times; empty: nothing. Runs with the same one show the same mistake.
    std::string failure{};
    std::string message{}; // the same with all its details
    std::set<std::string> features{};
    std::vector<std::string> events{};
    std::vector<std::string> notes{}; // what the board said
};

// The scenario of a run: its circumstances, and what judges it. include: the user's scenario as the file names it.
std::string ScenarioOf(const TrialSetup& setup, const Circumstances& circumstances, const std::string& include);

// One run of the program with its circumstances, in a process and a folder that exist as long as this.
class Trial final {
public:
    // Starts it. Throws BoardError.
    Trial(const TrialSetup& trialSetup, const ScenarioNames& boardNames, Circumstances trialCircumstances,
          std::filesystem::path ownFolder);
    // Ends a run that goes on, with all that runs on its board, within three seconds.
    ~Trial();
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    // Readable when the run is over.
    int Descriptor() const { return ended.Get(); }
    std::chrono::steady_clock::time_point Deadline() const { return deadline; }

    // Ends a run whose time is over, and judges it. Throws BoardError where the search itself is wrong.
    TrialResult Finish();

private:
    bool HasEnded(std::chrono::milliseconds patience) const;
    int End();
    TrialResult Judge(int waitStatus, bool isOverdue) const;
    void Observe(TrialResult& result) const;

    const TrialSetup& setup;
    const ScenarioNames& names;
    const Circumstances circumstances;
    const std::filesystem::path folder;
    int process = -1;
    FileDescriptor ended; // the process's
    const std::chrono::steady_clock::time_point deadline;
};

} // namespace VelrixBoard
