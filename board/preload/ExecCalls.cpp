// SPDX-License-Identifier: Apache-2.0
// Hooks for exec and its variants. Redirects the path; the new program gets the board too, or is rejected before it
// starts.
//
// No heap: the child of a vfork shares its parent's.
#include <alloca.h>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include "board/preload/Environment.h"
#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/ProgramCheck.h"

namespace VelrixBoard::Preload {

namespace {

using Words = char* const*;

constinit Next<int(const char*, Words, Words)> nextExecve{"execve"};
constinit Next<int(int, Words, Words)> nextFexecve{"fexecve"};
constinit Next<int(int, const char*, Words, Words, int)> nextExecveAt{"execveat"};
using Spawn = int(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, Words, Words);
constinit Next<Spawn> nextSpawn{"posix_spawn"};
constinit Next<int(posix_spawn_file_actions_t*, int, const char*, int, mode_t)> nextAddOpen{
    "posix_spawn_file_actions_addopen"};
constinit Next<int(posix_spawn_file_actions_t*, const char*)> nextAddChdir{"posix_spawn_file_actions_addchdir_np"};
constinit Next<int(const char*)> nextSystem{"system"};
constinit Next<FILE*(const char*, const char*)> nextPopen{"popen"};

constexpr const char* SHELL = "/bin/sh";
constexpr const char* USUAL_PATH = "/bin:/usr/bin";

// As many arguments as fit on a default stack.
constexpr std::size_t MOST_WORDS = 65536;

// Prints a message and returns true when the program could not have the board. EACCES, since shells take ENOEXEC for a
// script.
bool IsRefused(const char* name, const char* path) {
    if (Names::Current() == nullptr)
        return false;
    const Kernel::KeptErrno kept;
    char what[512]; // includes the name of a script's interpreter
    if (CheckProgram(path, what, sizeof what) == Refusal::NONE)
        return false;
    Kernel::Say({"velrix-board: ", name, " ", what, "\n"});
    return true;
}

int Execute(const char* path, Words arguments, Words environment, bool& wasRefused) {
    const BoardEnvironment completed(environment);
    return WithPath(path, Follow::YES, [&](const Path& led) {
        wasRefused = IsRefused(path, led.Text());
        return wasRefused ? Fail(EACCES) : nextExecve(led.Text(), arguments, completed.Get());
    });
}

int Execute(const char* path, Words arguments, Words environment) {
    bool wasRefused = false;
    return Execute(path, arguments, environment, wasRefused);
}

std::size_t Count(Words words) {
    std::size_t count = 0;
    while (words != nullptr && words[count] != nullptr)
        ++count;
    return count;
}

// On ENOEXEC the shell runs the file.
int ExecuteAsScript(const char* path, Words arguments, Words environment) {
    const std::size_t count = Count(arguments);
    if (count > MOST_WORDS)
        return Fail(E2BIG);
    auto** const words = static_cast<char**>(alloca((count + 3) * sizeof(char*)));
    words[0] = const_cast<char*>(SHELL);
    words[1] = const_cast<char*>(path);
    std::size_t next = 2;
    for (std::size_t i = 1; i < count; ++i)
        words[next++] = arguments[i];
    words[next] = nullptr;
    return Execute(SHELL, words, environment);
}

// True when the search continues in the next directory.
bool IsNotHere(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ENODEV || error == ESTALE ||
           error == ETIMEDOUT;
}

const char* SearchPath() {
    const char* const path = std::getenv("PATH");
    return path != nullptr ? path : USUAL_PATH;
}

// Builds the candidate in the next directory and advances; false for one that is too long.
bool TakeCandidate(const char*& directories, const char* name, char* candidate) {
    const std::size_t size = std::strcspn(directories, ":");
    const bool fits = size + std::strlen(name) + 2 <= PATH_MAX;
    if (fits) {
        std::memcpy(candidate, directories, size);
        std::strcpy(candidate + size, size == 0 ? "" : "/");
        std::strcat(candidate, name);
    }
    directories = directories[size] == ':' ? directories + size + 1 : nullptr;
    return fits;
}

int ExecuteFound(const char* name, Words arguments, Words environment) {
    bool wasRefused = false;
    if (name[0] == '\0')
        return Fail(ENOENT);
    if (std::strchr(name, '/') != nullptr) {
        (void)Execute(name, arguments, environment, wasRefused);
        return errno == ENOEXEC ? ExecuteAsScript(name, arguments, environment) : -1;
    }
    bool wasForbidden = false;
    char candidate[PATH_MAX];
    for (const char* directories = SearchPath(); directories != nullptr;) {
        if (!TakeCandidate(directories, name, candidate))
            continue;
        (void)Execute(candidate, arguments, environment, wasRefused);
        if (errno == ENOEXEC)
            return ExecuteAsScript(candidate, arguments, environment);
        if (wasRefused || !IsNotHere(errno))
            return -1;
        wasForbidden = wasForbidden || errno == EACCES;
    }
    return Fail(wasForbidden ? EACCES : ENOENT);
}

int SpawnLed(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
             const posix_spawnattr_t* attributes, Words arguments, Words environment) {
    const BoardEnvironment completed(environment);
    Path led(AT_FDCWD, path, Follow::YES);
    if (IsRefused(path, led.Text()))
        return EACCES;
    const int error = nextSpawn(process, led.Text(), actions, attributes, arguments, completed.Get());
    if ((error != ENOENT && error != ENOTDIR) || !led.Resolve(Follow::YES))
        return error;
    return IsRefused(path, led.Text())
               ? EACCES
               : nextSpawn(process, led.Text(), actions, attributes, arguments, completed.Get());
}

// The first executable file of that name in PATH; false for none.
bool FindProgram(const char* name, char* candidate) {
    for (const char* directories = SearchPath(); directories != nullptr;) {
        struct stat status {};
        if (TakeCandidate(directories, name, candidate) && ::access(candidate, X_OK) == 0 &&
            ::stat(candidate, &status) == 0 && S_ISREG(status.st_mode))
            return true;
    }
    return false;
}

// Like the C library, starts the shell with the environment of the process.
template <class Call>
auto WithBoardEnvironment(Call call) {
    const BoardEnvironment completed(environ);
    if (completed.Get() == environ)
        return call();
    char** const before = environ;
    environ = const_cast<char**>(completed.Get());
    const auto result = call();
    environ = before;
    return result;
}

// The number of arguments of execl and its variants, without the null.
std::size_t CountWords(const char* first, va_list arguments) {
    va_list rest;
    va_copy(rest, arguments);
    std::size_t count = 0;
    for (const char* word = first; word != nullptr && count < MOST_WORDS; word = va_arg(rest, const char*))
        ++count;
    va_end(rest);
    return count;
}

// Copies them, and the null; words is large enough.
Words TakeWords(const char* first, va_list arguments, char** words, std::size_t count) {
    words[0] = const_cast<char*>(first);
    for (std::size_t i = 1; i <= count; ++i)
        words[i] = va_arg(arguments, char*);
    words[count] = nullptr;
    return words;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, execve, const char* path, char* const* arguments, char* const* environment) {
    return Execute(path, arguments, environment);
}
VELRIX_PRELOADED(int, execv, const char* path, char* const* arguments) {
    return Execute(path, arguments, environ);
}
VELRIX_PRELOADED(int, execvp, const char* name, char* const* arguments) {
    return ExecuteFound(name, arguments, environ);
}
VELRIX_PRELOADED(int, execvpe, const char* name, char* const* arguments, char* const* environment) {
    return ExecuteFound(name, arguments, environment);
}

VELRIX_PRELOADED(int, execl, const char* path, const char* first, ...) {
    va_list arguments;
    va_start(arguments, first);
    const std::size_t count = CountWords(first, arguments);
    const Words words = TakeWords(first, arguments, static_cast<char**>(alloca((count + 1) * sizeof(char*))), count);
    va_end(arguments);
    return Execute(path, words, environ);
}
VELRIX_PRELOADED(int, execlp, const char* name, const char* first, ...) {
    va_list arguments;
    va_start(arguments, first);
    const std::size_t count = CountWords(first, arguments);
    const Words words = TakeWords(first, arguments, static_cast<char**>(alloca((count + 1) * sizeof(char*))), count);
    va_end(arguments);
    return ExecuteFound(name, words, environ);
}
VELRIX_PRELOADED(int, execle, const char* path, const char* first, ...) {
    va_list arguments;
    va_start(arguments, first);
    const std::size_t count = CountWords(first, arguments);
    const Words words = TakeWords(first, arguments, static_cast<char**>(alloca((count + 1) * sizeof(char*))), count);
    char* const* const environment = va_arg(arguments, char* const*);
    va_end(arguments);
    return Execute(path, words, environment);
}

VELRIX_PRELOADED(int, fexecve, int descriptor, char* const* arguments, char* const* environment) {
    char path[64];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
    if (IsRefused(path, path))
        return Fail(EACCES);
    return nextFexecve(descriptor, arguments, BoardEnvironment(environment).Get());
}
VELRIX_PRELOADED(int, execveat, int directory, const char* path, char* const* arguments, char* const* environment,
                 int flags) {
    const BoardEnvironment completed(environment);
    if (path != nullptr && path[0] == '\0')
        return nextExecveAt(directory, path, arguments, completed.Get(), flags);
    return WithPath(directory, path, (flags & AT_SYMLINK_NOFOLLOW) != 0 ? Follow::NO : Follow::YES,
                    [&](const Path& led) {
                        if (led.Directory() == AT_FDCWD && IsRefused(path, led.Text()))
                            return Fail(EACCES);
                        return nextExecveAt(led.Directory(), led.Text(), arguments, completed.Get(), flags);
                    });
}

VELRIX_PRELOADED(int, posix_spawn, pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    return SpawnLed(process, path, actions, attributes, arguments, environment);
}
VELRIX_PRELOADED(int, posix_spawnp, pid_t* process, const char* name, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    char candidate[PATH_MAX];
    if (std::strchr(name, '/') != nullptr)
        return SpawnLed(process, name, actions, attributes, arguments, environment);
    const int before = errno;
    const bool isFound = FindProgram(name, candidate);
    errno = before;
    return isFound ? SpawnLed(process, candidate, actions, attributes, arguments, environment) : ENOENT;
}

// File actions, which the C library executes in the child without calling hooks; they cannot open a value file.
VELRIX_PRELOADED(int, posix_spawn_file_actions_addopen, posix_spawn_file_actions_t* actions, int descriptor,
                 const char* path, int flags, mode_t mode) {
    const Path led(AT_FDCWD, path, Follow::YES);
    return led.Value() != nullptr ? ENOTSUP : nextAddOpen(actions, descriptor, led.Text(), flags, mode);
}
VELRIX_PRELOADED(int, posix_spawn_file_actions_addchdir_np, posix_spawn_file_actions_t* actions, const char* path) {
    const Path led(AT_FDCWD, path, Follow::YES);
    return nextAddChdir(actions, led.Text());
}

VELRIX_PRELOADED(int, system, const char* command) {
    return WithBoardEnvironment([=] { return nextSystem(command); });
}
VELRIX_PRELOADED(FILE*, popen, const char* command, const char* mode) {
    return WithBoardEnvironment([=] { return nextPopen(command, mode); });
}
