// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// True in the process that owns this memory: false in a child of vfork or clone, which may share its parent's.
bool IsOwnMemory();

} // namespace VelrixBoard::Preload
