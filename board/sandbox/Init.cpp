// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Init.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <iterator>
#include <optional>
#include <string>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "board/base/PollDescriptors.h"
#include "board/sandbox/Residents.h"

namespace VelrixBoard {

namespace {

// Grace periods: idle processes are killed after 1 s, busy ones after 10 s, counted from the program's end or the order
// to end everything. Long enough on a busy machine for a child that calls reboot after the program has ended; short
// enough that a leftover daemon does not hold up the board.
constexpr long long LOOK_NS = 100'000'000;
constexpr int LOOKS_AT_REST = 10;
constexpr long long WORK_NS = 10'000'000'000;

// Limit of reaped processes per turn, so that a fork bomb does not keep process 1 from the board's orders.
constexpr int REAPED_PER_TURN = 256;

void Send(int socket, InitMessage::Kind kind, int status, const std::string& text, int descriptor) {
    InitMessage message{kind, status, {}};
    std::strncpy(message.text, text.c_str(), sizeof message.text - 1);
    iovec part{&message, sizeof message};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (descriptor >= 0) {
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr* attached = CMSG_FIRSTHDR(&header);
        attached->cmsg_level = SOL_SOCKET;
        attached->cmsg_type = SCM_RIGHTS;
        attached->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(attached), &descriptor, sizeof descriptor);
    }
    // Ignores failures: if the board is gone, this process is about to be killed.
    (void)::sendmsg(socket, &header, MSG_NOSIGNAL);
}

[[noreturn]] void RunProgram(const InitPlan& plan, const Program& program) {
    if (program.standardOutput >= 0)
        ::dup2(program.standardOutput, STDOUT_FILENO);
    if (program.standardError >= 0)
        ::dup2(program.standardError, STDERR_FILENO);
    plan.restoreSignals();
    std::exit(program.main(plan.beginProgram()));
}

long long NowNs() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// Waits for the board's next order; LEAVE when the board is gone.
InitOrder ReceiveOrder(int socket) {
    InitOrder order{};
    return ::recv(socket, &order, sizeof order, 0) == static_cast<ssize_t>(sizeof order) ? order : InitOrder::LEAVE;
}

// The deadline of the grace period.
class Grace {
public:
    explicit Grace(const Residents& others) : residents(others) {}

    // Later orders do not extend it.
    void Begin() {
        if (begun != 0)
            return;
        begun = NowNs();
        look = begun + LOOK_NS;
    }

    // The time until the next check; nothing while no grace period runs.
    std::optional<BoardTime> Left() const {
        if (begun == 0)
            return std::nullopt;
        return BoardTime(std::max(0LL, look - NowNs()));
    }

    bool IsOver() {
        const long long now = NowNs();
        if (begun == 0 || now < look)
            return false;
        look = now + LOOK_NS;
        rest = residents.AnyWorks() ? 0 : rest + 1;
        return rest >= LOOKS_AT_REST || now - begun >= WORK_NS;
    }

private:
    const Residents& residents;
    long long begun = 0; // not yet; the clock counts from the start of the machine
    long long look = 0;
    int rest = 0;
};

// Starts the program; returns its process.
pid_t StartProgram(const InitPlan& plan, const Program& program, FileDescriptor& socket, FileDescriptor& childSignals) {
    const pid_t child = ::fork();
    if (child < 0) {
        Send(socket.Get(), InitMessage::Kind::FAILED, 0,
             std::string("cannot start the program: ") + std::strerror(errno), -1);
        ::_exit(1);
    }
    if (child == 0) {
        socket.Close();
        childSignals.Close();
        // Without a pid namespace the kernel does not kill the rest with process 1.
        if (!plan.hasOwnNumbers)
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        RunProgram(plan, program);
    }
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    Send(socket.Get(), InitMessage::Kind::STARTED, 0, "", process.Get());
    return child;
}

// Reaps everything, orphans included, until all processes have ended; kills those that exceed the grace period after
// the program's end or the order to end. Ignores stops and continuations of the program.
void WaitForAll(pid_t program, const Residents& residents, int socket, int childSignals) {
    Grace grace(residents);
    for (;;) {
        pid_t ended = 1;
        for (int i = 0; i < REAPED_PER_TURN && ended > 0; ++i) {
            int status = 0;
            ended = ::waitpid(-1, &status, WNOHANG);
            if (ended != program)
                continue;
            Send(socket, InitMessage::Kind::ENDED, status, "", -1);
            grace.Begin();
        }
        if (ended < 0)
            return;

        if (grace.IsOver())
            residents.Signal(SIGKILL);
        pollfd waits[] = {{socket, POLLIN, 0}, {childSignals, POLLIN, 0}};
        (void)PollDescriptors(waits, std::size(waits), ended > 0 ? BoardTime::zero() : grace.Left());
        signalfd_siginfo signal;
        if (waits[1].revents != 0)
            (void)!::read(childSignals, &signal, sizeof signal);
        if (waits[0].revents == 0)
            continue;
        switch (ReceiveOrder(socket)) {
        case InitOrder::END_ALL:
            residents.Signal(SIGTERM);
            grace.Begin();
            break;
        case InitOrder::KILL_ALL:
            residents.End();
            break;
        default: // the board is gone
            residents.End();
            ::_exit(0);
        }
    }
}

} // namespace

bool ReceiveInitMessage(int socket, InitMessage& message, FileDescriptor& attached) {
    iovec part{&message, sizeof message};
    int descriptor = -1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)];
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    if (::recvmsg(socket, &header, MSG_CMSG_CLOEXEC) != static_cast<ssize_t>(sizeof message))
        return false;
    if (const cmsghdr* rights = CMSG_FIRSTHDR(&header)) {
        std::memcpy(&descriptor, CMSG_DATA(rights), sizeof descriptor);
        attached = FileDescriptor(descriptor);
    }
    return true;
}

bool SendInitOrder(int socket, InitOrder order) {
    return ::send(socket, &order, sizeof order, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof order);
}

void SendMounted(int socket, int descriptor) {
    Send(socket, InitMessage::Kind::MOUNTED, 0, "", descriptor);
}

void RunInit(const InitPlan& plan, const Program& program, FileDescriptor socket) {
    ::prctl(plan.hasOwnNumbers ? PR_SET_PDEATHSIG : PR_SET_CHILD_SUBREAPER, plan.hasOwnNumbers ? SIGKILL : 1);
    // Race: if the board died before PR_SET_PDEATHSIG, the order never comes.
    if (ReceiveOrder(socket.Get()) != InitOrder::BEGIN)
        ::_exit(0);

    try {
        plan.makeBoard(socket.Get());
    } catch (const std::exception& exception) {
        Send(socket.Get(), InitMessage::Kind::FAILED, 0, exception.what(), -1);
        ::_exit(1);
    }

    // Blocked, so that the signalfd receives them and they do not kill this process.
    sigset_t all, childSignal;
    sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    FileDescriptor childSignals(::signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK));

    const Residents residents(plan.hasOwnNumbers);
    for (InitOrder order = InitOrder::RUN_AGAIN; order == InitOrder::RUN_AGAIN;) {
        const pid_t child = StartProgram(plan, program, socket, childSignals);
        WaitForAll(child, residents, socket.Get(), childSignals.Get());
        Send(socket.Get(), InitMessage::Kind::DOWN, 0, "", -1);
        // Race: an order to end everything may have crossed the message that everything has ended.
        do
            order = ReceiveOrder(socket.Get());
        while (order == InitOrder::END_ALL || order == InitOrder::KILL_ALL);
    }
    ::_exit(0);
}

} // namespace VelrixBoard
