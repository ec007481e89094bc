// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/preload/Names.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard::Preload {

// Buffers of one request. The answer's text goes directly into the caller's buffer, so that a bad address fails with
// EFAULT.
struct Transfer {
    const void* text = nullptr; // of a write
    std::size_t textSize = 0;
    void* buffer = nullptr; // of a read
    std::size_t bufferSize = 0;
    std::uint64_t event = 0;    // out: of a read
    int descriptor = -1;        // out: of an open
    bool closesOnExec = true;   // of that descriptor
    bool isCancellable = false; // whether this is a cancellation point, before the request and while waiting
};

// Sends the request to the board and waits for the answer: at least 0, or -1 and errno. ENODEV when the board is gone.
// A signal handler interrupts a slow request with EINTR.
std::int64_t Ask(const Names& names, const Request& request, Transfer& transfer);

} // namespace VelrixBoard::Preload
