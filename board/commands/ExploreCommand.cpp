// SPDX-License-Identifier: Apache-2.0
#include "board/commands/ExploreCommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <thread>
#include <utility>

#include <CLI/CLI.hpp>

#include "board/base/BoardError.h"
#include "board/commands/CommandArguments.h"
#include "board/commands/CommonCommands.h"
#include "board/control/ScenarioPlayer.h"
#include "board/explore/Explorer.h"
#include "board/explore/FailureStore.h"
#include "board/explore/TrialRunner.h"
#include "board/loop/StopSignals.h"
#include "board/scenario/ScenarioParser.h"

namespace VelrixBoard {

namespace {

constexpr ScenarioTime USUAL_LENGTH = std::chrono::seconds(30);
constexpr unsigned MOST_JOBS = 64;
constexpr int MOST_LIMIT_SECONDS = 3600;

// Options of "run" that each run of the search gets.
constexpr struct {
    const char* name;
    const char* type;
} PASSED_ON[] = {
    {"--settings", "FILE"},          {"--isolation", "namespaces|preload|auto"},
    {"--set", "LABEL=low|high"},     {"--without", "PATH"},
    {"--fault", "NAME=FAULT"},       {"--oxbo-ready-after", "TIME|never"},
    {"--on-reboot", "restart|exit"}, {"--date", "DATE"},
    {"--unserved", "real|fail"},
};

bool EndsByItself(const Scenario& scenario) {
    return std::any_of(scenario.steps.begin(), scenario.steps.end(), [](const Step& step) {
        return std::holds_alternative<Await>(step.what) || std::holds_alternative<Wait>(step.what) ||
               std::holds_alternative<Do>(step.what);
    });
}

std::string OwnPath() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        throw BoardError("cannot find the command velrix-board itself: " + error.message());
    return path;
}

// Refuses a value that is no whole number of the range.
std::function<std::string(const std::string&)> WholeNumber(std::uint64_t least, std::uint64_t most) {
    return [=](const std::string& text) {
        std::uint64_t number = 0;
        const char* const end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (error == std::errc() && rest == end && number >= least && number <= most)
            return std::string();
        return "expected a whole number from " + std::to_string(least) + " to " + std::to_string(most) + ", not " +
               text;
    };
}

// What the board has to say about all runs alike.
void Say(const std::vector<std::string>& notes, const std::optional<ProgressLine>& line) {
    if (line)
        line->Clear();
    for (const std::string& note : notes)
        std::fprintf(stderr, "velrix-board: %s\n", note.c_str());
}

// Returns the failure's file, or that there is none, with the first error.
std::string Write(const FoundFailure& failure, const FailureStore& store, const TrialSetup& setup,
                  std::exception_ptr& error) {
    try {
        return store.Write(failure, setup);
    } catch (const BoardError&) {
        if (error == nullptr)
            error = std::current_exception();
        return "(not written)";
    }
}

std::string Counted(std::size_t count, const char* one, const char* several) {
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

} // namespace

struct ExploreCommand::Arguments {
    int runs = 1000;
    std::uint64_t seed = 1;
    std::string scenario;
    std::string bounds;
    std::string corpus = "explore-failures";
    std::string length;
    int limitSeconds = 60;
    unsigned jobs = std::clamp(std::thread::hardware_concurrency(), 1U, MOST_JOBS);
    bool isQuiet = false;
    bool printsBounds = false;
    std::array<std::vector<std::string>, std::size(PASSED_ON)> passedOn;
};

ExploreCommand::ExploreCommand(CLI::App& app)
    : command(app.add_subcommand("explore", "Search for circumstances in which a program fails")),
      arguments(std::make_unique<Arguments>()) {
    command->footer("Ends with 0 without a failure, with 1 with one, with 125 where the search cannot go on.");
    command->add_option("--runs", arguments->runs, "How often the program is run; 1000 if not given")
        ->check(WholeNumber(1, 1'000'000))
        ->type_name("N");
    command->add_option("--seed", arguments->seed, "The same one gives the same search; 1 if not given")
        ->check(WholeNumber(0, std::numeric_limits<std::uint64_t>::max()))
        ->type_name("N");
    command->add_option("--scenario", arguments->scenario, "What judges each run, besides crashes and hangs")
        ->type_name("FILE");
    command
        ->add_option("--length", arguments->length,
                     "When the program is asked to end, if the scenario does not end the run; 30s if not given")
        ->type_name("TIME");
    command->add_option("--bounds", arguments->bounds, "What may happen, and how often; see --print-bounds")
        ->type_name("FILE");
    command
        ->add_option("--corpus", arguments->corpus,
                     "Where failures are kept, a scenario each, which later searches play first; explore-failures if "
                     "not given")
        ->type_name("DIR");
    command->add_option("--jobs", arguments->jobs, "Runs at a time; as many as processors if not given")
        ->check(WholeNumber(1, MOST_JOBS))
        ->type_name("N");
    command
        ->add_option("--limit", arguments->limitSeconds,
                     "After how many seconds of the machine's time a run counts as one that hangs; 60 if not given")
        ->check(WholeNumber(1, MOST_LIMIT_SECONDS))
        ->type_name("SECONDS");
    for (std::size_t i = 0; i < std::size(PASSED_ON); ++i)
        command->add_option(PASSED_ON[i].name, arguments->passedOn[i], "As of \"run\"")->type_name(PASSED_ON[i].type);
    TakeOneValueEach(*command);
    command->add_flag("--quiet", arguments->isQuiet, "Show no progress");
    command->add_flag("--print-bounds", arguments->printsBounds, "Print the usual bounds, as a file for --bounds");
}

ExploreCommand::~ExploreCommand() = default;

bool ExploreCommand::IsGiven() const {
    return command->parsed();
}

bool ExploreCommand::PrintsBounds() const {
    return arguments->printsBounds;
}

TrialSetup ExploreCommand::Setup(const ScenarioNames& names, const std::vector<std::string>& program) const {
    TrialSetup setup{OwnPath(),    {},      arguments->scenario,
                     std::nullopt, program, std::chrono::seconds(arguments->limitSeconds)};
    const bool ends = !setup.scenario.empty() && EndsByItself(ReadScenario(setup.scenario, names));
    if (!arguments->length.empty() || !ends) {
        setup.length = arguments->length.empty() ? USUAL_LENGTH : ParseTime(arguments->length);
        if (!setup.length)
            throw CLI::ValidationError("--length", "takes a time such as 500ms or 30s, not " + arguments->length);
    }
    for (std::size_t i = 0; i < std::size(PASSED_ON); ++i)
        for (const std::string& value : arguments->passedOn[i])
            setup.options.insert(setup.options.end(), {PASSED_ON[i].name, value});
    return setup;
}

int ExploreCommand::Run(const std::vector<std::string>& program) const {
    const ExploreBounds bounds = arguments->bounds.empty() ? ExploreBounds() : ReadBounds(arguments->bounds);
    if (arguments->printsBounds) {
        PrintOutput(ToJson(bounds));
        return 0;
    }
    const ScenarioNames names = NamesOf(BoardModel());
    const TrialSetup setup = Setup(names, program);
    const FailureStore store(arguments->corpus);
    store.RequireWritable();
    const std::vector<FailureStore::Known> known = store.Read();
    std::vector<Circumstances> knownCases;
    for (const FailureStore::Known& each : known)
        knownCases.push_back(each.circumstances);

    StopSignals stop("velrix-board", {SIGINT, SIGTERM});
    std::optional<ProgressLine> line;
    if (!arguments->isQuiet)
        line.emplace(arguments->runs);
    TrialRunner runner(setup, names, arguments->jobs, stop, [&] {
        if (line)
            line->OnTrial();
    });
    bool isFirst = true;
    const auto runAll = [&](const std::vector<Circumstances>& cases) {
        const std::vector<TrialResult> results = runner.Run(cases);
        if (std::exchange(isFirst, false) && !results.empty())
            Say(results.front().notes, line);
        return results;
    };
    Explorer explorer(CircumstanceMaker(names, bounds, arguments->seed), runAll, [&](const Progress& progress) {
        if (line)
            line->Set(progress);
    });
    const std::vector<TrialResult> replayed = explorer.PlayKnown(knownCases);
    std::exception_ptr error; // what was found until then is reported nonetheless
    try {
        explorer.Search(arguments->runs);
    } catch (const BoardError&) {
        error = std::current_exception();
    }
    line.reset();

    std::string text;
    for (std::size_t i = 0; i < replayed.size(); ++i)
        if (replayed[i].failure.empty())
            text += known[i].file.string() + ": no longer fails\n";
    for (const FoundFailure& failure : explorer.Failures()) {
        // The circumstances of a known failure may show another one now.
        const std::filesystem::path file = store.FileOf(failure);
        const bool isKnown = failure.known && known[*failure.known].file == file;
        text += TextOf(failure, isKnown ? file.string() : Write(failure, store, setup, error), isKnown);
    }
    if (error == nullptr || !explorer.Failures().empty())
        PrintOutput(text + Summary(explorer));
    if (error != nullptr)
        std::rethrow_exception(error);
    if (explorer.IsStopped() && explorer.Failures().empty())
        return 128 + stop.Signal();
    return explorer.Failures().empty() ? 0 : 1;
}

std::string ExploreCommand::TextOf(const FoundFailure& failure, const std::string& file, bool isKnown) {
    std::string text = file + ": " + failure.message + "\n";
    if (isKnown)
        text += "    known before\n";
    if (!failure.isRepeatable)
        text += "    did not show again with the same circumstances, so they are not shrunk:\n";
    if (failure.circumstances.empty())
        text += "    with no circumstances at all\n";
    for (const Circumstance& circumstance : failure.circumstances)
        text += "    " + LineOf(circumstance) + "\n";
    return text;
}

std::string ExploreCommand::Summary(const Explorer& explorer) const {
    const Progress& sum = explorer.Sum();
    std::string text =
        Counted(static_cast<std::size_t>(sum.runs), "run", "runs") + " with seed " + std::to_string(arguments->seed);
    if (sum.extraRuns > 0)
        text += " and " + std::to_string(sum.extraRuns) + " to play known failures and to shrink new ones";
    text +=
        ": " + Counted(sum.behaviours, "behaviour", "behaviours") + ", " + Counted(sum.failures, "failure", "failures");
    if (explorer.IsStopped())
        text += "; stopped by a signal";
    else if (sum.runs < arguments->runs)
        text += "; ended early, since there are so many";
    return text + "\n";
}

} // namespace VelrixBoard
