// SPDX-License-Identifier: Apache-2.0
#include "board/preload/WakeSockets.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "board/preload/Kernel.h"

namespace VelrixBoard::Preload {

namespace {

// A socket of the pool. state: 0 when empty, else twice its descriptor plus 2, plus 1 while it is in use. Only the user
// of the slot reads the other fields.
struct Slot {
    std::atomic<std::uint64_t> state;
    std::atomic<std::uint64_t> inode;
    std::atomic<std::uint32_t> name;
    std::atomic<std::int32_t> process;
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

// The kernel's choice of an address: a zero byte and five hexadecimal digits.
constexpr std::size_t DIGITS = 5;
constexpr socklen_t ADDRESS_SIZE = offsetof(sockaddr_un, sun_path) + 1 + DIGITS;

std::uint64_t Inode(int descriptor) {
    struct stat status {};
    return Kernel::Status(descriptor, status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

std::uint32_t NameOf(int descriptor) {
    sockaddr_un address{};
    socklen_t size = sizeof address;
    if (Kernel::SocketName(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0 || size != ADDRESS_SIZE)
        return 0;
    std::uint32_t name = 0;
    for (std::size_t i = 1; i <= DIGITS; ++i) {
        const char c = address.sun_path[i];
        name = 16 * name + static_cast<std::uint32_t>(c <= '9' ? c - '0' : c - 'a' + 10);
    }
    // A name of five zeros differs from none.
    return name | 1U << 31;
}

} // namespace

WakeSocket::WakeSocket() {
    const Kernel::KeptErrno kept;
    const pid_t process = Kernel::Process();
    for (int i = 0; i < SLOTS && slot < 0; ++i) {
        std::uint64_t state = slots[i].state.load();
        if (state == 0 || state % 2 != 0 || !slots[i].state.compare_exchange_strong(state, state + 1))
            continue;
        const int found = DescriptorOf(state);
        // The program may have closed it and reused the number; after a fork it is the parent's.
        const bool isThere = Inode(found) == slots[i].inode.load();
        if (isThere && slots[i].process.load() == process) {
            descriptor = found;
            name = slots[i].name.load();
            slot = i;
            Drain(descriptor);
            return;
        }
        if (isThere)
            Kernel::Close(found);
        slots[i].state.store(0);
    }
    Make();
    for (int i = 0; i < SLOTS && descriptor >= 0 && slot < 0; ++i) {
        std::uint64_t empty = 0;
        if (!slots[i].state.compare_exchange_strong(empty, InUse(descriptor)))
            continue;
        slots[i].inode.store(Inode(descriptor));
        slots[i].name.store(name);
        slots[i].process.store(process);
        slot = i;
    }
}

WakeSocket::~WakeSocket() {
    const Kernel::KeptErrno kept;
    if (slot >= 0) {
        std::uint64_t state = InUse(descriptor);
        slots[slot].state.compare_exchange_strong(state, Idle(descriptor));
    } else if (descriptor >= 0) {
        Kernel::Close(descriptor);
    }
    slot = descriptor = -1;
}

void WakeSocket::Make() {
    descriptor = Kernel::MakeSocket(SOCK_DGRAM | SOCK_NONBLOCK);
    if (descriptor < 0)
        return;
    descriptor = Kernel::MoveUp(descriptor, SLOTS);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (Kernel::Bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address.sun_family) == 0)
        name = NameOf(descriptor);
    if (name != 0)
        return;
    Kernel::Close(descriptor);
    descriptor = -1;
}

void WakeSocket::Drain(int descriptor) {
    const Kernel::KeptErrno kept;
    constexpr int MOST = 1024; // more than its queue holds
    char byte = 0;
    iovec part{&byte, 1};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    for (int i = 0; i < MOST && Kernel::Receive(descriptor, message, MSG_DONTWAIT) >= 0; ++i) {
    }
}

void WakeSocket::Wake(std::uint32_t name) {
    WakeSocket sender;
    if (sender.Descriptor() < 0 || name == 0)
        return;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    for (std::size_t i = DIGITS; i >= 1; --i, name /= 16)
        address.sun_path[i] = "0123456789abcdef"[name % 16];
    char byte = 0;
    iovec part{&byte, 1};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = ADDRESS_SIZE;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    // A full queue wakes as well.
    (void)Kernel::Send(sender.Descriptor(), message);
}

bool WakeSocket::IsOwn(int descriptor) {
    return descriptor >= 0 && LowestIn(static_cast<unsigned>(descriptor), static_cast<unsigned>(descriptor)) >= 0;
}

int WakeSocket::LowestIn(unsigned first, unsigned last) {
    int lowest = -1;
    for (const Slot& each : slots) {
        const std::uint64_t state = each.state.load(std::memory_order_relaxed);
        const int number = state != 0 ? DescriptorOf(state) : -1;
        if (number >= 0 && static_cast<unsigned>(number) >= first && static_cast<unsigned>(number) <= last &&
            (lowest < 0 || number < lowest))
            lowest = number;
    }
    return lowest;
}

void WakeSocket::Forget(int descriptor) {
    for (Slot& each : slots) {
        std::uint64_t state = each.state.load();
        if (state != 0 && DescriptorOf(state) == descriptor)
            each.state.compare_exchange_strong(state, 0);
    }
}

} // namespace VelrixBoard::Preload
