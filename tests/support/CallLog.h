// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// What the fakes of a test were asked to do, in one order across all of them: "green high, red low".
//
// Has room for a thousand characters, so that short calls are written down without an allocation that a test would
// count.
class CallLog final {
public:
    CallLog() { text.reserve(1024); }

    void Add(const std::string& call) {
        if (!text.empty())
            text += ", ";
        text += call;
    }

    // Everything since the last Take.
    std::string Take() {
        const std::string taken = text;
        text.clear();
        return taken;
    }

private:
    std::string text;
};

} // namespace TestSupport
