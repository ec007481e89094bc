// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Descriptors.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Life.h"
#include "board/preload/Names.h"

namespace VelrixBoard::Preload {

namespace {

struct Entry {
    std::atomic<std::uint64_t> inode; // of the socket; 0: not a value file
    std::atomic<std::uint64_t> open;
    std::atomic<std::uint32_t> file;
};

// The default fs.nr_open; descriptors above it are not supported.
constexpr unsigned PAGE_ENTRIES = 512, PAGE_COUNT = 2048;
constinit std::atomic<Entry*> pages[PAGE_COUNT] = {};

Entry* Existing(int descriptor) {
    const auto number = static_cast<unsigned>(descriptor);
    if (number >= PAGE_ENTRIES * PAGE_COUNT)
        return nullptr;
    Entry* const page = pages[number / PAGE_ENTRIES].load(std::memory_order_acquire);
    return page == nullptr ? nullptr : page + number % PAGE_ENTRIES;
}

// Null when out of memory.
Entry* Made(int descriptor) {
    const auto number = static_cast<unsigned>(descriptor);
    if (number >= PAGE_ENTRIES * PAGE_COUNT || Existing(descriptor) != nullptr)
        return Existing(descriptor);
    Kernel::Memory memory(PAGE_ENTRIES * sizeof(Entry));
    if (!memory.IsThere())
        return nullptr;
    Entry* expected = nullptr;
    if (pages[number / PAGE_ENTRIES].compare_exchange_strong(expected, memory.As<Entry>(), std::memory_order_acq_rel))
        memory.Release();
    return Existing(descriptor);
}

void Put(Entry& entry, std::uint64_t inode, std::uint32_t file, std::uint64_t open) {
    entry.inode.store(0, std::memory_order_release);
    entry.file.store(file, std::memory_order_relaxed);
    entry.open.store(open, std::memory_order_relaxed);
    entry.inode.store(inode, std::memory_order_release);
}

// The inode of a socket; 0 for other files.
std::uint64_t SocketInode(int descriptor) {
    struct stat status {};
    return Kernel::Status(descriptor, status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

// Parses "/NUMBER" followed by end.
bool TakeNumber(const char*& text, const char* end, std::uint64_t& number) {
    if (text == end || *text++ != '/' || text == end)
        return false;
    for (number = 0; text != end && *text != '/'; ++text) {
        if (*text < '0' || *text > '9' || number > UINT64_MAX / 10 - 1)
            return false;
        number = 10 * number + static_cast<std::uint64_t>(*text - '0');
    }
    return true;
}

} // namespace

bool Descriptors::Find(int descriptor, ValueFile& file) {
    Entry* const entry = Existing(descriptor);
    if (entry == nullptr)
        return false;
    const std::uint64_t inode = entry->inode.load(std::memory_order_acquire);
    if (inode == 0)
        return false;
    const Kernel::KeptErrno kept;
    file.file = entry->file.load(std::memory_order_relaxed);
    file.open = entry->open.load(std::memory_order_relaxed);
    if (SocketInode(descriptor) == inode)
        return true;
    Clear(descriptor);
    return false;
}

bool Descriptors::Take(const Names& names, int descriptor) {
    const Kernel::KeptErrno kept;
    sockaddr_un address{};
    socklen_t size = sizeof address;
    const char* text = address.sun_path + 1;
    const std::size_t nameLength = std::strlen(names.Socket());
    if (::syscall(SYS_getpeername, descriptor, &address, &size) != 0 || address.sun_family != AF_UNIX ||
        size < offsetof(sockaddr_un, sun_path) + 1 + nameLength || address.sun_path[0] != '\0' ||
        std::memcmp(text, names.Socket(), nameLength) != 0)
        return false;
    const char* const end = reinterpret_cast<const char*>(&address) + size;
    text += nameLength;
    std::uint64_t file = 0, open = 0;
    if (!TakeNumber(text, end, file) || !TakeNumber(text, end, open) || text != end)
        return false;
    Entry* const entry = IsOwnMemory() ? Made(descriptor) : nullptr;
    if (entry == nullptr)
        return false;
    Put(*entry, SocketInode(descriptor), static_cast<std::uint32_t>(file), open);
    return true;
}

void Descriptors::Copy(int from, int to) {
    ValueFile file;
    if (from == to)
        return;
    const Kernel::KeptErrno kept;
    if (!Find(from, file)) {
        Clear(to);
        return;
    }
    Entry* const entry = IsOwnMemory() ? Made(to) : nullptr;
    if (entry != nullptr)
        Put(*entry, SocketInode(to), file.file, file.open);
}

void Descriptors::Clear(int descriptor) {
    Entry* const entry = Existing(descriptor);
    if (entry == nullptr || entry->inode.load(std::memory_order_relaxed) == 0)
        return;
    const Kernel::KeptErrno kept;
    if (IsOwnMemory())
        entry->inode.store(0, std::memory_order_release);
}

void Descriptors::Clear(unsigned first, unsigned last) {
    for (unsigned page = first / PAGE_ENTRIES; page < PAGE_COUNT && page <= last / PAGE_ENTRIES; ++page)
        if (pages[page].load(std::memory_order_acquire) != nullptr)
            for (unsigned i = page * PAGE_ENTRIES; i < (page + 1) * PAGE_ENTRIES; ++i)
                if (i >= first && i <= last)
                    Clear(static_cast<int>(i));
}

void Descriptors::TakeInherited(const Names& names) {
    const Kernel::KeptErrno kept;
    const int folder = Kernel::Open(AT_FDCWD, "/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    alignas(dirent64) char buffer[2048];
    long size = 0;
    while (folder >= 0 && (size = ::syscall(SYS_getdents64, folder, buffer, sizeof buffer)) > 0)
        for (long at = 0; at < size;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer + at);
            at += entry->d_reclen;
            int descriptor = 0;
            const char* digit = entry->d_name;
            for (; *digit >= '0' && *digit <= '9'; ++digit)
                descriptor = 10 * descriptor + (*digit - '0');
            if (digit != entry->d_name && SocketInode(descriptor) != 0)
                Take(names, descriptor);
        }
    if (folder >= 0)
        Kernel::Close(folder);
}

} // namespace VelrixBoard::Preload
