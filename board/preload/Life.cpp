// SPDX-License-Identifier: Apache-2.0
// Initialisation: by the library's constructor, by an earlier first call, or later by a process that joins a board.
#include "board/preload/Life.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

#include "board/preload/Connections.h"
#include "board/preload/Descriptors.h"
#include "board/preload/Environment.h"
#include "board/preload/Kernel.h"
#include "board/preload/LogCalls.h"
#include "board/preload/Names.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Protocol.h"
#include "board/preload/Streams.h"

namespace VelrixBoard::Preload {

namespace {

constinit std::atomic<const Names*> current{nullptr};
constinit std::atomic<bool> isDecided{false};
constinit std::atomic<pid_t> owner{0};

const char* ListPath() {
    const std::size_t length = std::strlen(LIST_VARIABLE);
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (std::strncmp(*variable, LIST_VARIABLE, length) == 0 && (*variable)[length] == '=')
            return *variable + length + 1;
    return nullptr;
}

// Ends the program: without the board it would act on the machine.
[[noreturn]] void EndWithoutList(const char* path, int error) {
    Kernel::Say({"velrix-board: cannot read the names of the board from ", path, ": ",
                 error == EINVAL ? "it is not such a list" : ::strerrordesc_np(error), "; has the board ended? Unset ",
                 LIST_VARIABLE, " to run programs without it\n"});
    ::_exit(126);
}

void ForgetInChild() {
    owner.store(Kernel::Process());
    Connections::CloseAll();
    ResetLogInChild();
}

void PrepareForks() {
    static std::atomic<bool> isDone{false};
    if (!isDone.exchange(true))
        ::pthread_atfork(nullptr, nullptr, ForgetInChild);
}

const Names* Begin() {
    // Sanitizers call hooks before the C library has set environ.
    if (environ == nullptr)
        return nullptr;
    const Kernel::KeptErrno kept;
    const char* const path = ListPath();
    if (path == nullptr) {
        isDecided.store(true, std::memory_order_release);
        return nullptr;
    }
    const Names* const names = Names::Read(path);
    if (names == nullptr)
        EndWithoutList(path, errno);
    owner.store(Kernel::Process());
    RememberEnvironment(LIST_VARIABLE, path);
    Descriptors::TakeInherited(*names);
    const Names* expected = nullptr;
    // Race of several first threads: one wins; the lists are equal.
    if (current.compare_exchange_strong(expected, names, std::memory_order_acq_rel))
        PrepareForks();
    isDecided.store(true, std::memory_order_release);
    return current.load(std::memory_order_acquire);
}

// After the constructors of this library's dependencies, and before main.
__attribute__((constructor)) void BeginProgram() {
    if (Names::Current() != nullptr)
        ExchangeStandardStreams();
}

} // namespace

const Names* Names::Current() {
    return isDecided.load(std::memory_order_acquire) ? current.load(std::memory_order_acquire) : Begin();
}

bool IsOwnMemory() {
    return owner.load(std::memory_order_relaxed) == Kernel::Process();
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(void, velrix_board_preload_begin) {
    // Nested boards: the process may have been on another board, which is the machine for the new one.
    const Names* const before = current.exchange(nullptr);
    if (before != nullptr)
        Connections::CloseAll();
    if (Begin() != nullptr && before == nullptr)
        ExchangeStandardStreams();
}
