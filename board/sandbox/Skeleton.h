// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// Adds the board's names to the machine's, in the board's mount namespace.
//
// A skeleton covers each directory that gets or loses a name: a tmpfs with every entry of the original, symbolic links
// copied and the rest bind-mounted, plus the board's names. So names can be added where the user may not create any,
// such as /sys/class/leds, without changing the machine. overlayfs works only without submounts, which exist in /dev,
// /sys, a container's /etc.
class Skeleton final {
public:
    // stage is an empty directory to build in; Mount mounts over it temporarily.
    explicit Skeleton(std::filesystem::path stageDirectory) : stage(std::move(stageDirectory)) {}

    // Throws BoardError when a step fails. Leaves the working directory undefined.
    void Mount(const std::vector<Placement>& placements);

private:
    // The board's names, relative to a covered directory.
    using Names = std::map<std::filesystem::path, Placement>;

    void Build(const std::filesystem::path& covered, const std::filesystem::path& skeleton, const Names& names) const;

    std::filesystem::path stage;
};

} // namespace VelrixBoard
