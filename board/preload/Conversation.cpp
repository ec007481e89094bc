// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Conversation.h"

#include <cerrno>
#include <cstring>

#include <pthread.h>

#include "board/preload/Connections.h"
#include "board/preload/Kernel.h"
#include "board/preload/Next.h"

namespace VelrixBoard::Preload {

namespace {

// The C library's function, which is a cancellation point.
constinit Next<ssize_t(int, msghdr*, int)> nextReceive{"recvmsg"};

// The limit of signals during one request.
constexpr int MOST_INTERRUPTIONS = 1'000'000;

bool Send(int socket, const Request& request, const void* text, std::size_t size) {
    Request copy = request;
    iovec parts[] = {{&copy, sizeof copy}, {const_cast<void*>(text), size}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = size == 0 ? 1 : 2;
    for (int i = 0; i < MOST_INTERRUPTIONS; ++i) {
        if (Kernel::Send(socket, message) >= 0)
            return true;
        if (errno != EINTR)
            return false;
    }
    return false;
}

// The connection is broken, or not the board's.
bool IsBroken(int error) {
    return error == EPIPE || error == ECONNRESET || error == ENOTCONN || error == ENOTSOCK || error == EBADF ||
           error == EDESTADDRREQ;
}

void Cancel(int socket) {
    Request cancel{};
    cancel.operation = Operation::CANCEL;
    (void)Send(socket, cancel, nullptr, 0);
}

// Takes the descriptor of a message; closes unexpected ones.
void TakeDescriptor(msghdr& message, int& descriptor) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part))
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS &&
            part->cmsg_len >= CMSG_LEN(sizeof descriptor))
            std::memcpy(&descriptor, CMSG_DATA(part), sizeof descriptor);
}

// In a cancelled thread: the next request would take the pending answer for its own.
void GiveUp(void* connection) {
    static_cast<Connection*>(connection)->Discard();
}

ssize_t ReceiveOnce(Connection& connection, msghdr& message, const Transfer& transfer) {
    const int flags = transfer.closesOnExec ? MSG_CMSG_CLOEXEC : 0;
    if (!transfer.isCancellable)
        return Kernel::Receive(connection.Socket(), message, flags);
    ssize_t size = -1;
    pthread_cleanup_push(GiveUp, &connection);
    size = nextReceive(connection.Socket(), &message, flags);
    pthread_cleanup_pop(0);
    return size;
}

// The size of the answer, or -1 and errno.
ssize_t Receive(Connection& connection, Answer& answer, Transfer& transfer) {
    iovec parts[] = {{&answer, sizeof answer}, {transfer.buffer, transfer.bufferSize}};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    bool isCancelled = false;
    for (int i = 0; i < MOST_INTERRUPTIONS; ++i) {
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = transfer.bufferSize == 0 ? 1 : 2;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = ReceiveOnce(connection, message, transfer);
        if (size >= 0) {
            TakeDescriptor(message, transfer.descriptor);
            return size;
        }
        if (errno != EINTR)
            return -1;
        if (!isCancelled)
            Cancel(connection.Socket());
        isCancelled = true;
    }
    return -1;
}

} // namespace

std::int64_t Ask(const Names& names, const Request& request, Transfer& transfer) {
    const int before = errno;
    if (transfer.isCancellable)
        ::pthread_testcancel();
    for (int attempt = 0; attempt < 2; ++attempt) {
        Connection connection(names);
        if (connection.Socket() < 0)
            return -1;
        if (!Send(connection.Socket(), request, transfer.text, transfer.textSize)) {
            if (errno == EFAULT)
                return -1;
            const bool isBroken = IsBroken(errno);
            connection.Discard();
            // The board has not received it.
            if (isBroken)
                continue;
            break;
        }
        Answer answer{};
        const ssize_t size = Receive(connection, answer, transfer);
        if (size < 0 && errno == EFAULT)
            return -1;
        if (size < static_cast<ssize_t>(sizeof answer)) {
            connection.Discard();
            break;
        }
        transfer.event = answer.event;
        errno = answer.result < 0 ? static_cast<int>(-answer.result) : before;
        return answer.result < 0 ? -1 : answer.result;
    }
    errno = ENODEV;
    return -1;
}

} // namespace VelrixBoard::Preload
