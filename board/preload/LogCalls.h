// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// In the child of a fork: resets the lock of the log, which no other thread holds.
void ResetLogInChild();

} // namespace VelrixBoard::Preload
