// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "board/timeline/Timeline.h"
#include "board/timeline/VcdText.h"

namespace VelrixBoard {

// Writes a VCD file incrementally, so that the recording of a killed writer can be opened. Every operation throws
// TimelineError when the file cannot be written, naming the file.
class VcdWriter final {
public:
    // Creates or truncates the file and writes the names and the levels at time 0. Ignores the signals' changes.
    VcdWriter(std::string path, const std::vector<Signal>& signals);

    // The signal with that index changed its level. A time before the last one is recorded right after it.
    void Write(std::size_t signal, bool level, TimelineTime time) { Put(text.Change(signal, level, time)); }

    // Ends the recording at that time, so that viewers show the duration of the last level.
    void Finish(TimelineTime time) { Put(text.End(time)); }

private:
    struct Closer {
        void operator()(std::FILE* open) const { std::fclose(open); }
    };

    void Put(const std::string& piece);

    const std::string path;
    std::unique_ptr<std::FILE, Closer> file;
    VcdText text;
};

} // namespace VelrixBoard
