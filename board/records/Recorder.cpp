// SPDX-License-Identifier: Apache-2.0
#include "board/records/Recorder.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

FileDescriptor OpenRecord(const std::filesystem::path& path) {
    return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

} // namespace

Recorder::Recorder(const BoardLayout& layout, const BoardState& boardState, bool withWrites, TellUser tellUser)
    : state(boardState), recordsWrites(withWrites),
      tell(std::move(tellUser)), changes{layout.Changes(), OpenRecord(layout.Changes())},
      writes{layout.Writes(), withWrites ? OpenRecord(layout.Writes()) : FileDescriptor()},
      syslog{layout.Syslog(), OpenRecord(layout.Syslog())} {
    if (!changes.file || !syslog.file || (withWrites && !writes.file))
        ThrowSystemError("cannot make the records in " + layout.Root().string());
}

void Recorder::OnSyslog(std::string_view record, BoardTime) {
    for (const char c : record)
        syslog.waiting += c == '\n' ? "\\n" : std::string(1, c);
    syslog.waiting += '\n';
}

void Recorder::OnSettled(BoardTime) {
    for (Record* record : {&changes, &writes, &syslog})
        Flush(*record);
}

// A gap in the record would be invisible, so the record ends.
void Recorder::Flush(Record& record) const {
    while (record.file && !record.waiting.empty()) {
        const ssize_t written = ::write(record.file.Get(), record.waiting.data(), record.waiting.size());
        if (written > 0) {
            record.waiting.erase(0, static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            tell("cannot write " + record.path.string() + ": " + std::strerror(errno) +
                 "; the record ends here, the program runs on");
            record.file.Close();
        }
    }
    record.waiting.clear();
}

std::string Recorder::Line(std::size_t signal, bool level, BoardTime time) const {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%lld.%09lld ", static_cast<long long>(time / std::chrono::seconds(1)),
                  static_cast<long long>(time % std::chrono::seconds(1) / std::chrono::nanoseconds(1)));
    return seconds + state.Name(signal) + (level ? " 1\n" : " 0\n");
}

} // namespace VelrixBoard
