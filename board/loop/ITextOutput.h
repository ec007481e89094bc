// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace VelrixBoard {

// Where the board writes text for its user. Writing never waits for who reads it.
class ITextOutput {
public:
    virtual ~ITextOutput() = default;

    virtual void Write(std::string_view text) = 0;

    // Whether all of it has gone to the reader. Who can say the latest instead of everything writes only then.
    virtual bool IsWritten() const = 0;
};

} // namespace VelrixBoard
