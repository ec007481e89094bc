// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Recorder.h"

#include <cstdio>
#include <string>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

Recorder::Recorder(const BoardLayout& layout, const BoardState& boardState)
    : state(boardState), changes(layout.Changes()), syslog(layout.Syslog()) {
    if (!changes || !syslog)
        throw BoardError("cannot make the records in " + layout.Root().string());
}

void Recorder::OnChange(std::size_t signal, bool level, BoardTime time) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%lld.%06lld", static_cast<long long>(time.count() / 1'000'000),
                  static_cast<long long>(time.count() % 1'000'000));
    changes << seconds << ' ' << state.Name(signal) << ' ' << (level ? '1' : '0') << std::endl;
}

void Recorder::OnSyslog(std::string_view record, BoardTime) {
    std::string line;
    for (const char c : record)
        line += c == '\n' ? "\\n" : std::string(1, c);
    syslog << line << std::endl;
}

} // namespace VelrixBoard
