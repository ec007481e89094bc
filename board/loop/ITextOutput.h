// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace VelrixBoard {

// The board's output for its user. Writing never waits for the reader.
class ITextOutput {
public:
    virtual ~ITextOutput() = default;

    virtual void Write(std::string_view text) = 0;

    // Whether the reader has everything. A writer that only needs to show the latest state writes only then.
    virtual bool IsWritten() const = 0;
};

} // namespace VelrixBoard
