// SPDX-License-Identifier: Apache-2.0
#include "board/files/DeviceTree.h"

#include <algorithm>
#include <system_error>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

constexpr const char* ROOTS[] = {"/var/dev", "/sys/class/leds"};

bool CanHaveFile(const fs::path& path) {
    std::error_code error;
    return path.is_absolute() && path.has_filename() && !fs::is_character_file(path, error);
}

} // namespace

DeviceTree::DeviceTree(const BoardState& state) : nodes{{ROOT, false, false, {}}}, files(state.Count()) {
    for (const char* directory : ROOTS)
        Add(directory);
    for (std::size_t signal = 0; signal < state.Count(); ++signal) {
        const fs::path path = fs::path(state.Path(signal)).lexically_normal();
        if (!CanHaveFile(path))
            continue;
        const std::size_t before = nodes.size();
        const Number number = Add(path);
        const bool isNew = nodes.size() > before;
        Node& node = At(number);
        if ((!isNew && !node.isFile) || IsBelowFile(number))
            throw BoardError("the value file " + path.string() + " of " + state.Name(signal) +
                             " would have to be a directory too; give it another path in the settings file");
        node.isFile = true;
        node.signals.push_back(signal);
        files[signal] = number;
        if (isNew && !IsInDirectories(path)) {
            node.isPlaced = true;
            placedAlone.push_back(path);
        }
    }
}

const DeviceTree::Node* DeviceTree::Find(Number number) const {
    return number >= ROOT && number - ROOT < nodes.size() ? &At(number) : nullptr;
}

bool DeviceTree::IsInDirectories(const fs::path& path) {
    return std::any_of(std::begin(ROOTS), std::end(ROOTS),
                       [&](const char* directory) { return IsIn(path, directory); });
}

std::vector<fs::path> DeviceTree::Directories() {
    return {std::begin(ROOTS), std::end(ROOTS)};
}

std::vector<Placement> DeviceTree::Placements(const fs::path& mountPoint) const {
    std::vector<Placement> placements;
    for (const char* directory : ROOTS)
        placements.push_back({Placement::Kind::BIND, directory, mountPoint / fs::path(directory).relative_path()});
    for (const fs::path& file : placedAlone)
        placements.push_back({Placement::Kind::BIND, file, mountPoint / file.relative_path()});
    return placements;
}

DeviceTree::Number DeviceTree::Add(const fs::path& path) {
    Number number = ROOT;
    for (const fs::path& part : path.relative_path()) {
        const Number next = nodes.size() + ROOT;
        const auto [child, added] = At(number).children.emplace(part.string(), next);
        const Number found = child->second;
        if (added)
            nodes.push_back({number, false, false, {}});
        number = found;
    }
    return number;
}

bool DeviceTree::IsBelowFile(Number number) const {
    for (Number parent = At(number).parent; parent != ROOT; parent = At(parent).parent)
        if (At(parent).isFile)
            return true;
    return false;
}

} // namespace VelrixBoard
