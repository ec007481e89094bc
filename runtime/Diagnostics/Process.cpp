// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Process.h>

#include <cerrno>
#include <cstring>

#include <sys/auxv.h>
#include <unistd.h>

#include "runtime/Diagnostics/ProgramName.h"

namespace System::Diagnostics {

const char* ProgramName() noexcept {
    // The kernel passes the path in the auxiliary vector (getauxval(3)); the fallback is the C library's guess from the
    // first argument.
    const auto* const path = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    if (!path)
        return program_invocation_short_name;
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

[[gnu::init_priority(200)]] const std::shared_ptr<Process> Process::CURRENT_PROCESS = Own(new Process);

Process::Process() : processName(ProgramName()) {}

Process::~Process() = default;

int Process::Id() const noexcept {
    return ::getpid();
}

} // namespace System::Diagnostics
