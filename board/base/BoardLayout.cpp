// SPDX-License-Identifier: Apache-2.0
#include "board/base/BoardLayout.h"

#include <algorithm>

namespace VelrixBoard {

namespace {

struct Directory {
    const char* inside;
    const char* outside;
};

constexpr Directory DIRECTORIES[] = {
    {"/mnt/share", "share"},
    {"/var/log/apps", "logs"},
};

// The part of path below directory; nothing when it is not below it. Both are absolute and normal.
std::optional<std::filesystem::path> Below(const std::filesystem::path& path, const std::filesystem::path& directory) {
    const auto [atPath, atDirectory] = std::mismatch(path.begin(), path.end(), directory.begin(), directory.end());
    if (atDirectory != directory.end())
        return std::nullopt;
    std::filesystem::path rest;
    for (auto part = atPath; part != path.end(); ++part)
        rest /= *part;
    return rest;
}

} // namespace

std::vector<Placement> BoardLayout::Directories() const {
    std::vector<Placement> placements;
    for (const Directory& directory : DIRECTORIES)
        placements.push_back({Placement::Kind::BIND, directory.inside, root / directory.outside});
    return placements;
}

bool BoardLayout::IsInDirectories(const std::filesystem::path& inside) {
    return std::any_of(std::begin(DIRECTORIES), std::end(DIRECTORIES), [&](const Directory& directory) {
        return Below(inside.lexically_normal(), directory.inside).has_value();
    });
}

std::filesystem::path BoardLayout::Outside(const std::filesystem::path& inside) const {
    const std::filesystem::path path = inside.lexically_normal();
    for (const Directory& directory : DIRECTORIES)
        if (const auto rest = Below(path, directory.inside))
            return rest->empty() ? root / directory.outside : root / directory.outside / *rest;
    return Files() / path.relative_path();
}

} // namespace VelrixBoard
