// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Placement.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// The names of a board's value files as one tree of directories, by the whole paths that programs use; and which parts
// of the tree go where on the board. Does not change once made.
//
// /var/dev and /sys/class/leds are wholly the board's and always there. A file elsewhere is put among the machine's by
// itself. Signals whose path is not absolute, or is a device node of the machine such as /dev/null, have no file;
// several signals of one path share one.
class DeviceTree final {
public:
    // Nodes are numbered from 1, the root.
    using Number = std::uint64_t;
    static constexpr Number ROOT = 1;

    struct Node {
        Number parent;
        bool isFile = false;
        bool isPlaced = false;            // put among the machine's files by itself
        std::vector<std::size_t> signals; // of a file
        std::map<std::string, Number> children{};
    };

    // Throws BoardError where a file would have to be a directory as well.
    explicit DeviceTree(const BoardState& state);

    // Null for a number that is none.
    const Node* Find(Number number) const;

    // The file of a signal; nothing for one without.
    std::optional<Number> FileOf(std::size_t signal) const;

    // The directories that are wholly the board's.
    static std::vector<std::filesystem::path> Directories();

    // What is to be put where, if the tree is mounted at that place.
    std::vector<Placement> Placements(const std::filesystem::path& mountPoint) const;

private:
    Node& At(Number number);
    const Node& At(Number number) const;
    Number Add(const std::filesystem::path& path);
    bool IsBelowFile(Number number) const;

    std::vector<Node> nodes;
    std::map<std::size_t, Number> files; // by signal
    std::vector<std::filesystem::path> placedAlone;
};

} // namespace VelrixBoard
