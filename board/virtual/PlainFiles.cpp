// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/PlainFiles.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include <fcntl.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Programs that write whole lines, as a shell's echo does, end each value in a line feed.
std::string Values(std::string_view content) {
    std::string values(content);
    values.erase(std::remove(values.begin(), values.end(), '\n'), values.end());
    return values;
}

const char* LevelText(bool level) {
    return level ? "1\n" : "0\n";
}

// One write of the whole value, so that a reader never meets an empty file.
bool WriteValue(const fs::path& path, bool level, int flags) {
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, 0644));
    return file && ::write(file.Get(), LevelText(level), 2) == 2;
}

bool CanHaveFile(const fs::path& path) {
    std::error_code error;
    return path.is_absolute() && !fs::is_character_file(path, error);
}

} // namespace

std::string WrittenValues(std::string_view before, std::string_view after) {
    const std::string from = Values(before);
    const std::string to = Values(after);
    const auto [atFrom, first] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    // The file was emptied and written anew, as a shell's ">" does it, or the only value was written once more.
    if (to.size() < from.size() || (to.size() == 1 && from.size() == 1))
        return to;
    if (to.size() > from.size())
        return {first, to.end()};
    // Written over from an earlier place: only what differs is known to have been written.
    auto end = to.end();
    for (auto back = from.end(); end != first && *(end - 1) == *(back - 1); --back)
        --end;
    return {first, end};
}

PlainFiles::PlainFiles(const BoardLayout& boardLayout, BoardState& boardState, FileWatcher& fileWatcher,
                       Clock boardClock, const std::set<fs::path>& without)
    : state(boardState), watcher(fileWatcher), clock(std::move(boardClock)), files(state.Count()) {
    for (std::size_t signal = 0; signal < state.Count(); ++signal) {
        const fs::path inside = fs::path(state.Path(signal)).lexically_normal();
        if (!CanHaveFile(inside))
            continue;
        const fs::path outside = boardLayout.Outside(inside);
        std::error_code error;
        fs::create_directories(outside.parent_path(), error);
        if (without.count(inside) != 0) {
            if (!BoardLayout::IsInDirectories(inside))
                placements.push_back({Placement::Kind::ABSENT, inside, {}});
            continue;
        }
        if (!WriteValue(outside, state.Level(signal), O_CREAT | O_TRUNC))
            ThrowSystemError("cannot write the value file " + outside.string());
        if (!BoardLayout::IsInDirectories(inside))
            placements.push_back({Placement::Kind::BIND, inside, outside});
        files[signal] = {outside, LevelText(state.Level(signal))};
        watcher.WatchFile(outside, [this, signal] { OnWritten(signal); });
    }
}

void PlainFiles::DriveInput(std::size_t signal, bool level) {
    // The program may have removed the file; then nobody reads the line.
    if (!files[signal].path.empty())
        WriteValue(files[signal].path, level, 0);
    files[signal].content = LevelText(level);
    state.Set(signal, level, clock());
}

void PlainFiles::OnWritten(std::size_t signal) {
    ValueFile& file = files[signal];
    std::string content = ReadFile(file.path);
    // Emptied, and not written yet.
    if (content.empty()) {
        file.content.clear();
        return;
    }
    const BoardTime now = clock();
    if (state.IsInput(signal)) {
        state.Set(signal, content.front() == '1', now);
    } else {
        for (const char value : WrittenValues(file.content, content))
            state.Write(signal, value != '0', now);
    }
    file.content = std::move(content);
}

} // namespace VelrixBoard
