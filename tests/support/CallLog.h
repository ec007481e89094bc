// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// The calls of a test's fakes, in one order across all of them: "green high, red low".
//
// Reserves a thousand characters, so that short logs do not add allocations to a test that counts them.
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
