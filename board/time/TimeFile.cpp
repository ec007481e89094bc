// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimeFile.h"

#include <ctime>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

using Preload::TimePage;

namespace {

std::int64_t MachineTime(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return time.tv_sec * std::int64_t(1'000'000'000) + time.tv_nsec;
}

} // namespace

TimeFile::TimeFile(const std::filesystem::path& path, const std::optional<std::chrono::nanoseconds>& date) {
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file || ::ftruncate(file.Get(), sizeof(TimePage)) != 0)
        ThrowSystemError("cannot make the board's clock in " + path.string());
    void* const address = ::mmap(nullptr, sizeof(TimePage), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
    if (address == MAP_FAILED)
        ThrowSystemError("cannot share the board's clock in " + path.string());
    page = new (address) TimePage{};
    page->monotonicBase = MachineTime(CLOCK_MONOTONIC);
    page->wallBase.store(date ? date->count() : MachineTime(CLOCK_REALTIME));
    page->mark = TimePage::MARK;
}

TimeFile::~TimeFile() {
    ::munmap(page, sizeof(TimePage));
}

} // namespace VelrixBoard
