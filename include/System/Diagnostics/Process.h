// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::Diagnostics {

// The running process. Any thread.
class SYSTEM_EXPORT Process final : public Object {
public:
    static const std::shared_ptr<Process> CURRENT_PROCESS;

    ~Process() override;

    // The file name of the program that was executed, without its folder, whatever its first argument says.
    const string_ptr& ProcessName() const noexcept { return processName; }

    // The process id; in a forked child that of the child.
    int Id() const noexcept;

private:
    Process();

    const string_ptr processName;
};

} // namespace System::Diagnostics
