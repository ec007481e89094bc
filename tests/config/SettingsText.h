// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

// A settings text as a file in memory (memfd), so that a test can read thousands of them. The destructor removes it.
class SettingsText final {
public:
    explicit SettingsText(std::string_view text = {}) : descriptor(memfd_create("settings", MFD_CLOEXEC)) {
        if (descriptor < 0)
            throw std::runtime_error("cannot make a file in memory");
        Write(text);
    }
    SettingsText(const SettingsText&) = delete;
    SettingsText& operator=(const SettingsText&) = delete;
    ~SettingsText() { close(descriptor); }

    // Replaces the text.
    void Write(std::string_view text) {
        if (ftruncate(descriptor, 0) != 0 ||
            pwrite(descriptor, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("cannot write " + Path());
    }

    std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
    const int descriptor;
};

} // namespace TestSupport
