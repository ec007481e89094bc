// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The receiving end of the board's /dev/log.
//
// A full queue blocks programs that log; so read it all the time while the program runs. Passes on records without a
// trailing line feed or zero; truncates one longer than 65536 bytes, with a remark.
class SyslogSocket final {
public:
    using Action = std::function<void(std::string_view record)>;

    // Binds the socket, at a path of any length, and throws BoardError where that fails.
    SyslogSocket(const std::filesystem::path& path, Action onRecord);

    int Descriptor() const { return socket.Get(); }

    // Passes on the queued records.
    void Dispatch();

private:
    std::string_view Record(std::size_t length);

    FileDescriptor socket;
    Action action;
    std::vector<char> buffer; // for the longest record and the remark
};

} // namespace VelrixBoard
