// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/BoardPlacements.h"

#include <algorithm>
#include <set>
#include <system_error>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"
#include "board/sandbox/RebootStub.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

const fs::path SETTINGS_FILE = "/etc/velrix.conf";
const fs::path DEVICES = "/dev";
const fs::path LOG_SOCKET = "/dev/log";

bool IsDeviceDirectory(const fs::path& path) {
    const std::vector<fs::path> directories = DeviceTree::Directories();
    return std::find(directories.begin(), directories.end(), path) != directories.end();
}

// The board is built from the run directory, so no placement may hide it.
void RequireInSight(const fs::path& runDirectory, const std::vector<Placement>& placements) {
    const fs::path directory = fs::canonical(runDirectory);
    for (const Placement& place : placements) {
        const fs::path inside = fs::weakly_canonical(place.inside);
        if (IsIn(directory, inside))
            throw BoardError("the run directory " + runDirectory.string() + " lies in " + place.inside.string() +
                             ", which is the board's own there; name another one with --directory or TMPDIR");
    }
}

// Of the machine, which restarts if a program opens one and ends.
std::vector<fs::path> Watchdogs() {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(DEVICES, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().starts_with("watchdog"))
            found.push_back(entry->path());
    return found;
}

fs::path OwnProgram() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (error)
        throw BoardError("cannot find the board's own program: " + error.message() + " (is /proc mounted?)");
    return program;
}

// Places a web log outside the board's directories. If its directory is missing on the machine, places the directory,
// so that the program creates the file, as on the device.
void PlaceWebLog(const BoardModel& model, const BoardLayout& layout, std::vector<Placement>& result) {
    const fs::path inside = fs::path(model.WebLogFile()).lexically_normal();
    if (!CanKeepWebLog(model) || BoardLayout::IsInDirectories(inside))
        return;
    const fs::path outside = layout.Outside(inside);
    std::error_code error;
    const bool asDirectory = !fs::is_directory(inside.parent_path(), error);
    if (!asDirectory)
        MakeFile(outside);
    result.push_back({Placement::Kind::BIND, asDirectory ? inside.parent_path() : inside,
                      asDirectory ? outside.parent_path() : outside});
}

} // namespace

void RequireKnownPaths(const BoardOptions& options, const BoardLayout& layout, const BoardState& state) {
    std::set<fs::path> known;
    for (const Placement& directory : layout.Directories())
        known.insert(directory.inside);
    for (const fs::path& directory : DeviceTree::Directories())
        known.insert(directory);
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        known.insert(fs::path(state.Path(signal)).lexically_normal());
    for (const fs::path& path : options.without)
        if (known.count(path) == 0)
            throw BoardError("--without " + path.string() + " names neither a value file nor a directory of the board");
}

bool CanKeepWebLog(const BoardModel& model) {
    const fs::path inside = fs::path(model.WebLogFile()).lexically_normal();
    std::error_code error;
    // Nothing can be created among the value files.
    return inside.is_absolute() && !fs::is_character_file(inside, error) && !DeviceTree::IsInDirectories(inside);
}

std::vector<Placement> MakePlacements(const BoardOptions& options, const BoardLayout& layout, const BoardState& state,
                                      const DeviceTree& tree) {
    const auto kindOf = [&options](const fs::path& inside, Placement::Kind kind) {
        return options.without.count(inside) != 0 ? Placement::Kind::ABSENT : kind;
    };
    std::vector<Placement> result;
    for (const Placement& place : layout.Directories()) {
        fs::create_directories(place.outside);
        result.push_back({kindOf(place.inside, place.kind), place.inside, place.outside});
    }
    for (const Placement& place : tree.Placements(layout.Device()))
        result.push_back({IsDeviceDirectory(place.inside) ? kindOf(place.inside, place.kind) : place.kind, place.inside,
                          place.outside});
    PlaceWebLog(state.Model(), layout, result);
    result.push_back(
        {options.settings ? Placement::Kind::COPY : Placement::Kind::ABSENT, SETTINGS_FILE, layout.Settings()});
    result.push_back(
        {options.syslog ? Placement::Kind::BIND : Placement::Kind::ABSENT, LOG_SOCKET, layout.SyslogSocket()});
    for (const fs::path& watchdog : Watchdogs())
        result.push_back({Placement::Kind::ABSENT, watchdog, {}});
    const fs::path stub = options.rebootStub.empty() ? OwnProgram() : options.rebootStub;
    for (const Placement& place : RebootStub::Placements(stub, layout.Reboots()))
        result.push_back(place);
    RequireInSight(layout.Root(), result);
    return result;
}

} // namespace VelrixBoard
