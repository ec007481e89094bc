// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Process.h>

#include <cerrno>

#include <unistd.h>

namespace System::Diagnostics {

[[gnu::init_priority(200)]] const std::shared_ptr<Process> Process::CURRENT_PROCESS = Own(new Process);

// The C library keeps the name from the arguments of main, so that no file has to be read for it.
Process::Process() : processName(program_invocation_short_name) {}

Process::~Process() = default;

int Process::Id() const noexcept {
    return ::getpid();
}

} // namespace System::Diagnostics
