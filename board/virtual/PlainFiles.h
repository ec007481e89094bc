// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "board/virtual/BoardLayout.h"
#include "board/virtual/BoardState.h"
#include "board/virtual/Clock.h"
#include "board/virtual/FileWatcher.h"
#include "board/virtual/IDeviceFiles.h"

namespace VelrixBoard {

// Value files that are plain files in the run directory.
//
// A plain file keeps what a device file would take as values one after the other: a program that opens it once and
// writes a byte at a time leaves its whole history in it, "0110". The board reads the level from what was added. An
// input holds its level and a line feed. What plain files cannot show: writes through a second descriptor that repeat
// what stands there, and the order of writes to different files that follow one another at once.
class PlainFiles final : public IDeviceFiles {
public:
    // Makes the files of the state's model, except those whose path is in without. Paths that are not absolute, and
    // device nodes of the machine such as /dev/null, get no file.
    PlainFiles(const BoardLayout& boardLayout, BoardState& boardState, FileWatcher& fileWatcher, Clock boardClock,
               const std::set<std::filesystem::path>& without);

    std::vector<Placement> Placements() const override { return placements; }
    int Descriptor() const override { return watcher.Descriptor(); }
    void Dispatch() override { watcher.Dispatch(); }
    void DriveInput(std::size_t signal, bool level) override;

private:
    struct ValueFile {
        std::filesystem::path path;
        std::string content;
    };

    void OnWritten(std::size_t signal);

    BoardState& state;
    FileWatcher& watcher;
    Clock clock;
    std::vector<ValueFile> files; // by signal; an empty path: no file
    std::vector<Placement> placements;
};

// The values that turned the first content of a value file into the second, as far as they can be told.
std::string WrittenValues(std::string_view before, std::string_view after);

} // namespace VelrixBoard
