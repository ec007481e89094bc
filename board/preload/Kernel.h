// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

// Direct system calls: bypass the hooks of this library and of sanitizers, and are not cancellation points. Each
// returns -1 and sets errno like the C library's.
namespace VelrixBoard::Preload::Kernel {

int Open(int directory, const char* path, int flags);
int Close(int descriptor);
ssize_t Read(int descriptor, void* buffer, std::size_t size);
ssize_t ReadNow(int descriptor, void* buffer, std::size_t size); // EAGAIN instead of waiting
ssize_t Write(int descriptor, const void* buffer, std::size_t size);
bool IsReadable(int descriptor);
bool IsNonBlocking(int descriptor);
ssize_t ReadLink(int directory, const char* path, char* buffer, std::size_t size);
ssize_t CurrentDirectory(char* buffer, std::size_t size); // without the terminating zero
int Status(int descriptor, struct stat& status);
int Status(const char* path, bool follow, struct stat& status);
int Duplicate(int descriptor, int lowest);      // with O_CLOEXEC
int MoveUp(int descriptor, std::uint64_t room); // to a free high number, if any: the descriptor's number now
int MakeSocket(int type);
int Bind(int socket, const sockaddr* address, socklen_t size);
int SocketName(int socket, sockaddr* address, socklen_t* size);
ssize_t Send(int socket, const msghdr& message);
ssize_t Receive(int socket, msghdr& message, int flags);
pid_t Process();
pid_t Thread();
bool IsGone(pid_t process, pid_t thread);
void* MapShared(int descriptor, std::size_t size);
int FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected); // shared; EINTR after every signal handler
void FutexWake(std::atomic<std::uint32_t>& word);                        // one thread
uid_t EffectiveUser();
gid_t EffectiveGroup();
std::uint64_t Limit(int resource);

// Writes the texts to standard error, when the program ends or a new one is rejected.
void Say(std::initializer_list<const char*> texts);

// Preserves errno.
class KeptErrno final {
public:
    KeptErrno() : kept(errno) {}
    KeptErrno(const KeptErrno&) = delete;
    KeptErrno& operator=(const KeptErrno&) = delete;
    ~KeptErrno() { errno = kept; }

private:
    int kept;
};

// Zeroed memory by mmap instead of the heap: for signal handlers, after vfork, before the C library is ready.
class Memory final {
public:
    Memory() = default;
    explicit Memory(std::size_t bytes) { Replace(bytes); }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    ~Memory() { Free(); }

    bool IsThere() const { return address != MAP_FAILED; }
    template <class Type>
    Type* As() const {
        return static_cast<Type*>(address);
    }

    void Replace(std::size_t bytes) {
        Free();
        size = bytes;
        address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }

    // Never freed.
    void* Release() {
        void* const released = address;
        address = MAP_FAILED;
        return released;
    }

private:
    void Free() {
        if (IsThere())
            ::munmap(address, size);
        address = MAP_FAILED;
    }

    void* address = MAP_FAILED;
    std::size_t size = 0;
};

} // namespace VelrixBoard::Preload::Kernel
