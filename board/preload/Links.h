// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "board/preload/Names.h"
#include "board/preload/Path.h"

namespace VelrixBoard::Preload {

// Resolves symbolic links in a path like the kernel, but on the board: reads links at their outside names, and resolves
// targets as inside names.
//
// path is absolute and normal, in a buffer of PATH_MAX bytes, and is replaced by the resolved one. Returns its length,
// or 0 when it has no link, or too many.
std::size_t ResolveLinks(const Names& names, char* path, Follow follow);

} // namespace VelrixBoard::Preload
