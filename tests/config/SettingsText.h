// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

// A settings text that can be opened as a file of this process's own. It is kept in memory, so that a test can read
// thousands of them, and goes with the object.
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

    // Puts another text in the place of the one that is there.
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
