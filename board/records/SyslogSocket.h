// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The other end of the board's /dev/log.
//
// Programs that log wait while the socket's queue, some ten datagrams, is full; so it must be read all the time the
// program runs. Records are passed on as they came, without the line feed or zero that some programs end them with; of
// one longer than 65536 bytes, its beginning and a remark.
class SyslogSocket final {
public:
    using Action = std::function<void(std::string_view record)>;

    // Binds the socket, at a path of any length, and throws BoardError where that fails.
    SyslogSocket(const std::filesystem::path& path, Action onRecord);

    int Descriptor() const { return socket.Get(); }

    // Passes on the records that are waiting.
    void Dispatch();

private:
    std::string_view Record(std::size_t length);

    FileDescriptor socket;
    Action action;
    std::vector<char> buffer; // for the longest record and the remark
};

} // namespace VelrixBoard
