// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Recorder.h"

#include <cstdio>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

FileDescriptor OpenRecord(const std::filesystem::path& path) {
    return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

// A record that a full disk cuts short is no reason to stop the program.
void Append(const FileDescriptor& file, const std::string& line) {
    (void)!::write(file.Get(), line.data(), line.size());
}

} // namespace

Recorder::Recorder(const BoardLayout& layout, const BoardState& boardState)
    : state(boardState), changes(OpenRecord(layout.Changes())), syslog(OpenRecord(layout.Syslog())) {
    if (!changes || !syslog)
        ThrowSystemError("cannot make the records in " + layout.Root().string());
}

void Recorder::OnChange(std::size_t signal, bool level, BoardTime time) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%lld.%09lld ", static_cast<long long>(time / std::chrono::seconds(1)),
                  static_cast<long long>(time % std::chrono::seconds(1) / std::chrono::nanoseconds(1)));
    Append(changes, seconds + state.Name(signal) + (level ? " 1\n" : " 0\n"));
}

void Recorder::OnSyslog(std::string_view record, BoardTime) {
    std::string line;
    for (const char c : record)
        line += c == '\n' ? "\\n" : std::string(1, c);
    Append(syslog, line + "\n");
}

} // namespace VelrixBoard
