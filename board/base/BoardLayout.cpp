// SPDX-License-Identifier: Apache-2.0
#include "board/base/BoardLayout.h"

#include <algorithm>

#include "board/base/Paths.h"

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

} // namespace

std::vector<Placement> BoardLayout::Directories() const {
    std::vector<Placement> placements;
    for (const Directory& directory : DIRECTORIES)
        placements.push_back({Placement::Kind::BIND, directory.inside, root / directory.outside});
    return placements;
}

bool BoardLayout::IsInDirectories(const std::filesystem::path& inside) {
    return std::any_of(std::begin(DIRECTORIES), std::end(DIRECTORIES),
                       [&](const Directory& directory) { return IsIn(inside.lexically_normal(), directory.inside); });
}

std::filesystem::path BoardLayout::Outside(const std::filesystem::path& inside) const {
    const std::filesystem::path path = inside.lexically_normal();
    for (const Directory& directory : DIRECTORIES)
        if (IsIn(path, directory.inside)) {
            const std::filesystem::path rest = path.lexically_relative(directory.inside);
            return rest == "." ? root / directory.outside : root / directory.outside / rest;
        }
    return Files() / path.relative_path();
}

} // namespace VelrixBoard
