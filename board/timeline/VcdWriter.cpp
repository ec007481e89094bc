// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/VcdWriter.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace VelrixBoard {

VcdWriter::VcdWriter(std::string ownPath, const std::vector<Signal>& signals) : path(std::move(ownPath)) {
    if (signals.size() > VcdText::MOST_SIGNALS)
        throw TimelineError("cannot record " + std::to_string(signals.size()) + " signals in " + path + ": at most " +
                            std::to_string(VcdText::MOST_SIGNALS));
    file.reset(std::fopen(path.c_str(), "we"));
    if (!file)
        throw TimelineError("cannot write the timeline " + path + ": " + std::strerror(errno));
    Put(VcdText::Header(signals));
}

void VcdWriter::Put(const std::string& piece) {
    if (std::fwrite(piece.data(), 1, piece.size(), file.get()) != piece.size() || std::fflush(file.get()) != 0)
        throw TimelineError("cannot write the timeline " + path + ": " + std::strerror(errno));
}

} // namespace VelrixBoard
