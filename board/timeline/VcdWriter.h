// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// Writes a VCD file while the signals change, so that a recording whose writer was killed can still be opened.
//
// Only what every viewer takes: scalar wires in one scope, one change at a time stamp, no comments. Two changes in the
// same microsecond are recorded one microsecond apart, because some viewers drop all but the last of a stamp. Every
// operation throws TimelineError when the file cannot be written, naming the file.
class VcdWriter final {
public:
    // Creates or empties the file and writes the names and the levels at time 0. The changes of the signals are not
    // looked at.
    VcdWriter(std::string path, const std::vector<Signal>& signals);

    // The signal at that place of the list has another level. A time before the last one counts as right after it.
    void Write(std::size_t signal, bool level, TimelineTime time);

    // Ends the recording at that time, so that viewers show the last level for as long as it lasted.
    void Finish(TimelineTime time);

private:
    struct Closer {
        void operator()(std::FILE* open) const { std::fclose(open); }
    };

    void Put(const std::string& text);

    const std::string path;
    std::unique_ptr<std::FILE, Closer> file;
    TimelineTime last{0};
};

} // namespace VelrixBoard
