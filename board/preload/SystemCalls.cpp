// SPDX-License-Identifier: Apache-2.0
// Hooks for user and group, the reboot call, and dlopen.
#include <dlfcn.h>
#include <sys/reboot.h>
#include <unistd.h>

#include "board/preload/Conversation.h"
#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int)> nextReboot{"reboot"};
constinit Next<void*(const char*, int)> nextDlopen{"dlopen"};
constinit Next<uid_t()> nextGetuid{"getuid"};
constinit Next<uid_t()> nextGeteuid{"geteuid"};
constinit Next<gid_t()> nextGetgid{"getgid"};
constinit Next<gid_t()> nextGetegid{"getegid"};
constinit Next<int(uid_t*, uid_t*, uid_t*)> nextGetresuid{"getresuid"};
constinit Next<int(gid_t*, gid_t*, gid_t*)> nextGetresgid{"getresgid"};

bool IsRoot() {
    const Names* const names = Names::Current();
    return names != nullptr && names->IsRoot();
}

int RebootBoard(const Names& names, int command) {
    if (!names.IsRoot() && Kernel::EffectiveUser() != 0)
        return Fail(EPERM);
    // As in a pid namespace: other commands fail.
    const bool isRestart = command == RB_AUTOBOOT;
    if (!isRestart && command != static_cast<int>(RB_HALT_SYSTEM) && command != RB_POWER_OFF)
        return Fail(EINVAL);
    Request request{};
    request.operation = Operation::REBOOT;
    request.flags = isRestart ? 1 : 0;
    Transfer nothing;
    return Ask(names, request, nothing) < 0 ? -1 : 0;
}

// Not inlined, since dlopen must not have live stack objects.
__attribute__((noinline)) bool IsOfBoard(const char* file) {
    const char* c = file;
    while (c != nullptr && *c != '\0' && *c != '/')
        ++c;
    return c != nullptr && *c == '/' && Path(AT_FDCWD, file, Follow::YES).IsOnList();
}

__attribute__((noinline)) void* LoadLed(const char* file, int flags) {
    const Path led(AT_FDCWD, file, Follow::YES);
    return nextDlopen(led.Text(), flags);
}

int GiveZeros(uid_t* first, uid_t* second, uid_t* third) {
    *first = *second = *third = 0;
    return 0;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, reboot, int command) {
    const Names* const names = Names::Current();
    return names != nullptr ? RebootBoard(*names, command) : nextReboot(command);
}

VELRIX_PRELOADED(uid_t, getuid) {
    return IsRoot() ? 0 : nextGetuid();
}
VELRIX_PRELOADED(uid_t, geteuid) {
    return IsRoot() ? 0 : nextGeteuid();
}
VELRIX_PRELOADED(gid_t, getgid) {
    return IsRoot() ? 0 : nextGetgid();
}
VELRIX_PRELOADED(gid_t, getegid) {
    return IsRoot() ? 0 : nextGetegid();
}
VELRIX_PRELOADED(int, getresuid, uid_t* real, uid_t* effective, uid_t* saved) {
    return IsRoot() ? GiveZeros(real, effective, saved) : nextGetresuid(real, effective, saved);
}
VELRIX_PRELOADED(int, getresgid, gid_t* real, gid_t* effective, gid_t* saved) {
    return IsRoot() ? GiveZeros(real, effective, saved) : nextGetresgid(real, effective, saved);
}

// A tail call: the loader uses the return address of dlopen to find the caller, whose run path it searches for a plain
// name.
VELRIX_PRELOADED(void*, dlopen, const char* file, int flags) {
    if (__builtin_expect(IsOfBoard(file), 0))
        return LoadLed(file, flags);
    return nextDlopen.Get()(file, flags);
}
