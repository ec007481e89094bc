// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "board/preload/Names.h"
#include "board/preload/Path.h"

namespace VelrixBoard::Preload {

// Goes along a path from its beginning, as the kernel does, but on the board: reads the links in it where the board
// keeps them, and finds what they lead to by the names inside.
//
// path is absolute and normal, with room for PATH_MAX bytes, and becomes the one without links. Gives its length, or 0
// when there is no link in it, or too many.
std::size_t ResolveLinks(const Names& names, char* path, Follow follow);

} // namespace VelrixBoard::Preload
