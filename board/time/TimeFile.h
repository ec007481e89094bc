// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "board/preload/TimePage.h"

namespace VelrixBoard {

// The file whose memory a board with its own time shares with its programs. The object unmaps it; the file stays.
class TimeFile final {
public:
    // The board's clock begins at 0, the wall clock at date or the machine's time. Throws BoardError.
    TimeFile(const std::filesystem::path& path, const std::optional<std::chrono::nanoseconds>& date);
    TimeFile(const TimeFile&) = delete;
    TimeFile& operator=(const TimeFile&) = delete;
    ~TimeFile();

    Preload::TimePage& Page() const { return *page; }

private:
    Preload::TimePage* page;
};

} // namespace VelrixBoard
