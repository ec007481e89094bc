// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/preload/Names.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard::Preload {

// Buffers of one request beside its fixed part. The board's text goes into the caller's own buffer, so that a wrong
// address fails as it does in the kernel.
struct Transfer {
    const void* text = nullptr; // of a write
    std::size_t textSize = 0;
    void* buffer = nullptr; // of a read
    std::size_t bufferSize = 0;
    std::uint64_t event = 0;    // afterwards, of a read
    int descriptor = -1;        // afterwards, of an open
    bool closesOnExec = true;   // for that descriptor
    bool isCancellable = false; // whether a thread can be cancelled here, before the request or while it waits
};

// Sends the request to the board and waits for the answer: at least 0, or -1 and errno. ENODEV when there is no board
// any more. A signal handler that runs meanwhile makes the board end what takes long, which then fails with EINTR.
std::int64_t Ask(const Names& names, const Request& request, Transfer& transfer);

} // namespace VelrixBoard::Preload
