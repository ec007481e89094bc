// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Connections.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Life.h"
#include "board/preload/Names.h"

namespace VelrixBoard::Preload {

namespace {

// A slot for a connection: 0 when empty, else twice its descriptor plus 2, plus 1 while it is in use.
struct Slot {
    std::atomic<std::uint64_t> state;
    std::atomic<std::uint64_t> inode; // of the socket; only the user of the slot reads it
};
constexpr int SLOTS = 64;
constinit Slot slots[SLOTS] = {};

constexpr std::uint64_t Idle(int descriptor) {
    return 2 * (static_cast<std::uint64_t>(descriptor) + 1);
}
constexpr std::uint64_t InUse(int descriptor) {
    return Idle(descriptor) + 1;
}
constexpr int DescriptorOf(std::uint64_t state) {
    return static_cast<int>(state / 2) - 1;
}

// Longer than any fault of a board. SO_RCVTIMEO also disables SA_RESTART, so that a signal handler interrupts the wait.
constexpr long LONGEST_WAIT_S = 2L * 60 * 60;

// Timeout to connect to a busy board.
constexpr long LONGEST_CONNECT_S = 60;
constexpr int MOST_SIGNALS = 1000;

std::uint64_t Inode(int descriptor) {
    struct stat status {};
    return Kernel::Status(descriptor, status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

} // namespace

bool Connections::IsOwn(int descriptor) {
    return descriptor >= 0 && LowestIn(static_cast<unsigned>(descriptor), static_cast<unsigned>(descriptor)) >= 0;
}

void Connections::Forget(int descriptor) {
    for (Slot& slot : slots) {
        std::uint64_t state = slot.state.load();
        if (state != 0 && DescriptorOf(state) == descriptor)
            slot.state.compare_exchange_strong(state, 0);
    }
}

void Connections::CloseAll() {
    for (Slot& slot : slots) {
        const std::uint64_t state = slot.state.exchange(0);
        if (state != 0)
            Kernel::Close(DescriptorOf(state));
    }
}

int Connections::LowestIn(unsigned first, unsigned last) {
    int lowest = -1;
    for (const Slot& slot : slots) {
        const std::uint64_t state = slot.state.load(std::memory_order_relaxed);
        if (state == 0)
            continue;
        const int descriptor = DescriptorOf(state);
        const auto number = static_cast<unsigned>(descriptor);
        if (number >= first && number <= last && (lowest < 0 || descriptor < lowest))
            lowest = descriptor;
    }
    return lowest;
}

Connection::Connection(const Names& names) {
    const bool isPooled = IsOwnMemory();
    if (isPooled)
        TakeFromPool();
    if (socket >= 0)
        return;
    Connect(names);
    for (int i = 0; i < SLOTS && isPooled && socket >= 0 && slot < 0; ++i) {
        std::uint64_t empty = 0;
        if (slots[i].state.compare_exchange_strong(empty, InUse(socket))) {
            slots[i].inode.store(Inode(socket));
            slot = i;
        }
    }
}

Connection::~Connection() {
    if (socket < 0)
        return;
    if (slot < 0) {
        Discard();
        return;
    }
    std::uint64_t state = InUse(socket);
    slots[slot].state.compare_exchange_strong(state, Idle(socket));
}

void Connection::Discard() {
    const Kernel::KeptErrno kept;
    if (slot >= 0) {
        std::uint64_t state = InUse(socket);
        const bool isOurs = slots[slot].state.compare_exchange_strong(state, 0);
        if (isOurs && Inode(socket) == slots[slot].inode.load())
            Kernel::Close(socket);
    } else if (socket >= 0) {
        Kernel::Close(socket);
    }
    socket = slot = -1;
}

void Connection::TakeFromPool() {
    const Kernel::KeptErrno kept;
    for (int i = 0; i < SLOTS; ++i) {
        std::uint64_t state = slots[i].state.load();
        if (state == 0 || state % 2 != 0 || !slots[i].state.compare_exchange_strong(state, state + 1))
            continue;
        // The program may have closed it by a direct system call and reused the number.
        if (Inode(DescriptorOf(state)) == slots[i].inode.load()) {
            socket = DescriptorOf(state);
            slot = i;
            return;
        }
        slots[i].state.store(0);
    }
}

void Connection::Connect(const Names& names) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::min(std::strlen(names.Socket()), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, names.Socket(), length);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    socket = Kernel::MakeSocket(SOCK_SEQPACKET);
    if (socket < 0)
        return;
    socket = Kernel::MoveUp(socket, SLOTS);
    const timeval toAnswer{LONGEST_WAIT_S, 0}, toConnect{LONGEST_CONNECT_S, 0};
    ::syscall(SYS_setsockopt, socket, SOL_SOCKET, SO_RCVTIMEO, &toAnswer, sizeof toAnswer);
    ::syscall(SYS_setsockopt, socket, SOL_SOCKET, SO_SNDTIMEO, &toConnect, sizeof toConnect);
    long result = -1;
    for (int i = 0; i < MOST_SIGNALS && result != 0; ++i) {
        result = ::syscall(SYS_connect, socket, &address, size);
        if (result != 0 && errno != EINTR)
            break;
    }
    if (result == 0)
        return;
    Kernel::Close(socket);
    socket = -1;
    errno = ENODEV;
}

} // namespace VelrixBoard::Preload
