// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include <System/Diagnostics/Trace.h>

#include <velrix/settings/SettingsFile.h>

#include "tests/support/RecordingListener.h"
#include "tests/support/TemporaryFolder.h"

// A temporary system configuration folder with some files, and settings that name it.
struct Device {
    Device(std::initializer_list<std::pair<const char*, std::string>> files) {
        Velrix::Settings::SettingsFile::INSTANCE.Value()->system_config_dir = folder.Path();
        for (const auto& [name, content] : files)
            folder.Write(name, content);
    }

    const TestSupport::TemporaryFolder folder;
};

// The trace during the function.
template <class Function>
std::string TraceOf(const Function& function) {
    const auto listener = TestSupport::RecordingListener::Create();
    System::Diagnostics::Trace::AddListener(listener);
    function();
    System::Diagnostics::Trace::RemoveListener(listener);
    return listener->Log();
}
