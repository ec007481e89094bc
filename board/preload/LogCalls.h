// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// In a fork's child: no other thread holds the lock of the log.
void ResetLogInChild();

} // namespace VelrixBoard::Preload
