// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// What the fakes of a test were asked to do, in one order across all of them: "green high, red low".
class CallLog final {
public:
    void Add(const std::string& call) { text += (text.empty() ? "" : ", ") + call; }

    // Everything since the last Take.
    std::string Take() {
        std::string taken;
        taken.swap(text);
        return taken;
    }

private:
    std::string text;
};

} // namespace TestSupport
