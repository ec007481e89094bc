// SPDX-License-Identifier: Apache-2.0
#include "board/explore/FailureStore.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string_view>

#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/explore/TrialReport.h"
#include "board/scenario/Printable.h"
#include "board/scenario/ScenarioSource.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PREFIX = "failure-";
constexpr std::string_view SUFFIX = ".scenario";

// The same for the same failure, in each search: FNV-1a.
std::string NameOf(const std::string& failure) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : failure)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return std::string(PREFIX) + digits + std::string(SUFFIX);
}

// "when TRIGGER [after TIME] ACTION", as LineOf writes it.
std::optional<Circumstance> CircumstanceOf(const std::string& line) {
    constexpr std::string_view WHEN = "when ";
    if (!line.starts_with(WHEN))
        return std::nullopt;
    std::string rest = line.substr(WHEN.size());
    constexpr const char* ACTIONS[] = {" set ", " fault ", " send ", " module "};
    std::size_t action = std::string::npos;
    for (const char* word : ACTIONS)
        action = std::min(action, rest.find(word));
    if (action == std::string::npos)
        return std::nullopt;
    Circumstance circumstance{rest.substr(0, action), ScenarioTime(0), rest.substr(action + 1)};
    const std::size_t after = circumstance.trigger.rfind(" after ");
    if (after == std::string::npos)
        return circumstance;
    const auto time = ParseTime(std::string_view(circumstance.trigger).substr(after + 7));
    if (!time)
        return std::nullopt;
    circumstance.after = *time;
    circumstance.trigger.resize(after);
    return circumstance;
}

// They come first in a file, but for comments.
Circumstances CircumstancesOf(const std::string& text) {
    Circumstances circumstances;
    for (const std::string& line : LinesOf(text)) {
        if (line.empty() || line.starts_with('#'))
            continue;
        auto circumstance = CircumstanceOf(line);
        if (!circumstance)
            break;
        circumstances.push_back(std::move(*circumstance));
    }
    return circumstances;
}

// A word of a command as a shell takes it.
std::string ForShell(const std::string& word) {
    constexpr const char* PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-+=./:,@%";
    if (!word.empty() && word.find_first_not_of(PLAIN) == std::string::npos)
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

// The command that replays the failure, for people.
std::string ReplayOf(const TrialSetup& setup, const fs::path& file) {
    std::string text = "velrix-board run --time virtual --scenario " + ForShell(file);
    for (const std::string& option : setup.options)
        text += " " + ForShell(option);
    text += " --";
    for (const std::string& word : setup.program)
        text += " " + ForShell(word);
    return text;
}

} // namespace

std::vector<FailureStore::Known> FailureStore::Read() const {
    std::vector<Known> all;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.starts_with(PREFIX) && name.ends_with(SUFFIX))
            all.push_back({entry->path(), {}});
    }
    std::sort(all.begin(), all.end(), [](const Known& a, const Known& b) { return a.file < b.file; });
    for (Known& each : all)
        try {
            each.circumstances = CircumstancesOf(ReadScenarioText(each.file));
        } catch (const std::runtime_error& reason) {
            throw BoardError("cannot read " + each.file.string() + ": " + reason.what());
        }
    return all;
}

// By the folder, or the one in which it is made.
void FailureStore::RequireWritable() const {
    fs::path existing = fs::absolute(folder).lexically_normal();
    std::error_code error;
    while (!fs::exists(fs::symlink_status(existing, error)) && existing.has_relative_path())
        existing = existing.parent_path();
    const int reason = !fs::is_directory(existing, error)             ? ENOTDIR
                       : ::access(existing.c_str(), W_OK | X_OK) != 0 ? errno
                                                                      : 0;
    if (reason != 0)
        ThrowSystemError("cannot keep failures in " + folder.string() + " (--corpus names another folder)", reason);
}

fs::path FailureStore::FileOf(const FoundFailure& failure) const {
    return folder / NameOf(failure.failure);
}

fs::path FailureStore::Write(const FoundFailure& failure, const TrialSetup& setup) const {
    std::error_code error;
    fs::create_directories(folder, error);
    const fs::path file = FileOf(failure);
    const auto normal = [](const fs::path& path) { return fs::absolute(path).lexically_normal(); };
    const std::string include =
        setup.scenario.empty() ? fs::path() : normal(setup.scenario).lexically_proximate(normal(folder));
    // Another search may read it meanwhile, or write the same one.
    const fs::path draft = folder / ("." + file.filename().string() + "." + std::to_string(::getpid()));
    std::ofstream stream(draft);
    stream << "# " << Printable(failure.message) << "\n# " << Printable(ReplayOf(setup, file)) << "\n"
           << ScenarioOf(setup, failure.circumstances, include);
    stream.close();
    if (!stream || ::rename(draft.c_str(), file.c_str()) != 0) {
        const int reason = errno;
        ::unlink(draft.c_str());
        ThrowSystemError("cannot write " + file.string(), reason);
    }
    return file;
}

} // namespace VelrixBoard
