// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/base/Placement.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// The directory tree of a board's value files, by the absolute paths that programs use, and the mount points of its
// parts. Immutable.
//
// /var/dev and /sys/class/leds always exist and belong to the board. A file elsewhere is placed individually among the
// machine's files. Signals with a relative path, or with a device node of the machine such as /dev/null, have no file;
// signals with the same path share one.
class DeviceTree final {
public:
    // Nodes are numbered from 1, the root.
    using Number = std::uint64_t;
    static constexpr Number ROOT = 1;

    struct Node {
        Number parent;
        bool isFile = false;
        bool isPlaced = false;            // individually, among the machine's files
        std::vector<std::size_t> signals; // of a file
        std::map<std::string, Number> children{};
    };

    // Throws BoardError if a path is both a file and a directory.
    explicit DeviceTree(const BoardState& state);

    // Null for an unknown number.
    const Node* Find(Number number) const;

    // The file of a signal; nothing if it has none.
    std::optional<Number> FileOf(std::size_t signal) const { return files[signal]; }

    // The directories that belong to the board.
    static std::vector<std::filesystem::path> Directories();
    static bool IsInDirectories(const std::filesystem::path& path);

    // The placements, if the tree is mounted at that path.
    std::vector<Placement> Placements(const std::filesystem::path& mountPoint) const;

private:
    Node& At(Number number) { return nodes[static_cast<std::size_t>(number - ROOT)]; }
    const Node& At(Number number) const { return nodes[static_cast<std::size_t>(number - ROOT)]; }
    Number Add(const std::filesystem::path& path);
    bool IsBelowFile(Number number) const;

    std::vector<Node> nodes;
    std::vector<std::optional<Number>> files; // by signal
    std::vector<std::filesystem::path> placedAlone;
};

} // namespace VelrixBoard
