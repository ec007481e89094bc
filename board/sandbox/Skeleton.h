// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// Puts the board's names among those of the machine, inside the board's mount namespace.
//
// Each directory that gets a new name, or loses one, is covered by a skeleton: a directory in memory with every entry
// of the one below it, links copied and the rest bound, except that the board's names are the board's. So names can
// appear where the machine has none and the user may make none, such as /sys/class/leds, and nothing appears on the
// machine. An overlay would do it only where nothing is mounted below the directory, which is rare: /dev, /sys, a
// container's /etc.
class Skeleton final {
public:
    // stage is an empty directory to build in; it is covered while Mount runs.
    explicit Skeleton(std::filesystem::path stageDirectory) : stage(std::move(stageDirectory)) {}

    // Throws BoardError where a step is refused. Leaves the current directory undefined.
    void Mount(const std::vector<Placement>& placements);

private:
    // The names, relative to a covered directory, that are the board's.
    using Names = std::map<std::filesystem::path, Placement>;

    void Build(const std::filesystem::path& covered, const std::filesystem::path& skeleton, const Names& names) const;

    std::filesystem::path stage;
};

} // namespace VelrixBoard
