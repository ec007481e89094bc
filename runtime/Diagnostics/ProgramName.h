// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace System::Diagnostics {

// The file name of the program that was executed, without its folder: what the kernel was asked to execute, whatever
// the caller put into the program's first argument. No file is read for it. The text lasts as long as the process.
const char* ProgramName() noexcept;

} // namespace System::Diagnostics
