// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// True in the process that this memory is of: false in a child that was made without fork, such as vfork's, whose
// memory may be its parent's.
bool IsOwnMemory();

} // namespace VelrixBoard::Preload
