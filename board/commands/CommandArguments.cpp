// SPDX-License-Identifier: Apache-2.0
#include "board/commands/CommandArguments.h"

#include <algorithm>
#include <cerrno>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/model/LevelText.h"
#include "board/model/OxboModule.h"
#include "tools/help/Reason.h"

namespace VelrixBoard {

namespace {

// Every command that runs a program has it.
constexpr const char* SET = "--set";

bool wasOutputMissing = false;

} // namespace

// open returns the lowest free number.
void OpenMissingStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0 || errno != EBADF)
            continue;
        wasOutputMissing = wasOutputMissing || stream == STDOUT_FILENO;
        if (::open("/dev/null", O_RDWR) != stream)
            ::_exit(BOARD_FAILED);
    }
}

bool WasOutputMissing() {
    return wasOutputMissing;
}

bool RunsProgram(const CLI::App& command) {
    return command.get_option_no_throw(SET) != nullptr;
}

std::string ValueOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

std::vector<std::string> OwnArguments(int argc, char** argv, std::vector<std::string>& program) {
    const std::vector<std::string> all(argv + 1, argv + argc);
    const auto separator = std::find(all.begin(), all.end(), "--");
    if (separator != all.end())
        program.assign(separator + 1, all.end());
    std::vector<std::string> own;
    for (auto word = all.begin(); word != separator; ++word)
        if (word->size() > 3 && word->starts_with("--") && word->find('=') == word->size() - 1) {
            // CLI11 would take the next word as the value.
            own.push_back(word->substr(0, word->size() - 1));
            own.emplace_back();
        } else {
            own.push_back(*word);
        }
    std::reverse(own.begin(), own.end());
    return own;
}

void AddBeginningOptions(CLI::App& command, std::map<std::string, bool>& levels,
                         std::optional<std::chrono::milliseconds>& oxboReadyAfter) {
    const auto takeLevels = [&levels](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            const std::size_t equals = text.find('=');
            const auto level = ParseLevel(equals == std::string::npos ? "" : text.substr(equals + 1));
            if (!level)
                throw CLI::ValidationError(SET, "takes LABEL=low or LABEL=high");
            levels.insert_or_assign(text.substr(0, equals), *level);
        }
    };
    const auto takeTime = [&oxboReadyAfter](const std::string& text) {
        try {
            oxboReadyAfter = ParseReadyTime(text);
        } catch (const BoardError& error) {
            throw CLI::ValidationError("--oxbo-ready-after", error.what());
        }
    };
    command
        .add_option_function<std::vector<std::string>>(SET, takeLevels,
                                                       "Level of an input from the start, such as OXBO_IRQ_N=low")
        ->type_name("LABEL=low|high");
    command
        .add_option_function<std::string>("--oxbo-ready-after", takeTime,
                                          "When the Oxbo module pulls its interrupt line low after its reset; " +
                                              std::to_string(OxboModule::READY_AFTER.count()) + "ms if not given")
        ->type_name("TIME|never");
}

void AddTestingOptions(CLI::App& command, std::optional<std::string>& timeline, ScenarioOptions& scenario) {
    command.add_option("--timeline", timeline, "Record every change of every line and LED")->type_name("FILE.vcd");
    CLI::Option* play =
        command.add_option("--scenario", scenario.file, "Play these steps and judge the run by them: 0 or 1")
            ->type_name("FILE");
    command.add_option("--junit", scenario.junit, "Write the scenario's results as a JUnit report")
        ->type_name("FILE.xml")
        ->needs(play);
    command
        .add_option("--name", scenario.name, "The run's name in the report; that of the scenario's file if not given")
        ->type_name("TEXT")
        ->needs(play);
}

namespace {

// "A is required" of CLI11, with the argument's description: "A is missing: the recording to compare with".
std::string ReasonFor(const CLI::App& command, const CLI::Error& error) {
    const std::string what = error.what();
    const CLI::Option* option = command.get_option_no_throw(what.substr(0, what.find(' ')));
    if (error.get_name() != "RequiredError" || option == nullptr || option->get_description().empty())
        return VelrixTools::ReasonOf(error.get_name(), what, [&](const std::string& name) {
            const CLI::Option* known = command.get_option_no_throw(name);
            return known == nullptr ? std::string("a value") : ValueOf(*known);
        });
    std::string description = option->get_description();
    if (description.size() > 1 && description[1] >= 'a')
        description[0] = static_cast<char>(description[0] | 0x20);
    return option->get_single_name() + " is missing: " + description;
}

// The word can be the port of a --panel without one.
bool IsPortOf(const CLI::App& command, const std::string& word) {
    const CLI::Option* panel = command.get_option_no_throw("--panel");
    return panel != nullptr && panel->count() > 0 && !word.empty() &&
           word.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

std::string RefusalText(const CLI::App* app, const CLI::Error& error) {
    const CLI::App* command = nullptr;
    std::string names;
    for (const CLI::App* known : app->get_subcommands({})) {
        command = known->parsed() ? known : command;
        names += (names.empty() ? "" : ", ") + known->get_name();
    }
    const std::string called = app->get_name() + (command != nullptr ? " " + command->get_name() : "");
    const std::vector<std::string> rest = app->remaining(true);
    std::string what = command == nullptr ? error.what() : ReasonFor(*command, error);
    if (command == nullptr)
        what = (rest.empty() ? "a command is missing" : "there is no command \"" + rest.front() + "\"") +
               "; there are: " + names;
    else if (!rest.empty() && rest.front().starts_with('-'))
        what = "there is no option " + rest.front();
    else if (!rest.empty() && IsPortOf(*command, rest.front()))
        what = "\"" + rest.front() + "\" is no option; give the panel's port as --panel=" + rest.front();
    else if (!rest.empty() && !RunsProgram(*command))
        what = "\"" + rest.front() + "\" is one too many";
    else if (!rest.empty())
        what =
            "\"" + rest.front() + "\" is no option; give the program after --, as in " + called + " -- " + rest.front();
    return app->get_name() + ": " + what + "\n\"" + called + " --help\" says what can be given.\n";
}

void RequireProgram(const CLI::App& app, const std::vector<std::string>& program) {
    if (program.empty())
        throw CLI::ParseError("the program is missing; give it after --, as in " + app.get_name() + " run -- PROGRAM",
                              BOARD_FAILED);
}

void TakeOneValueEach(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) {
        const auto refuse = [&command, option](const std::string& value) {
            if (value.starts_with("--") && command.get_option_no_throw(value) != nullptr)
                return "takes " + ValueOf(*option) + ", and " + value + " is an option";
            return std::string(value.empty() ? "the value is empty" : "");
        };
        if (option->get_items_expected_max() > 0)
            option->check(refuse);
        if (option->get_items_expected_max() > 1)
            option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}

} // namespace VelrixBoard
