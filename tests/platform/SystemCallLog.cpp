// SPDX-License-Identifier: Apache-2.0
#undef _FORTIFY_SOURCE // its wrappers are in the way of definitions
#include "tests/platform/SystemCallLog.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <utility>

// Defined in coverage builds.
extern "C" [[gnu::weak]] void __gcov_dump();
extern "C" [[gnu::weak]] void __gcov_reset();

namespace {

// The files of the board and their names, independent of the library and its settings.
constexpr struct {
    const char* path;
    const char* name;
} FILES[] = {
    {"/etc/velrix.conf", "settings"},
    {"/mnt/share/logger", "weblog"},
    {"/dev/null", "null"},
    {"/dev/full", "full"},
    {"/var/dev/gpio-inputs/oxboIrqN/value", "OXBO_IRQ_N"},
    {"/var/dev/gpio-inputs/oxboModId0Sync/value", "OXBO_MOD_ID0_SYNC"},
    {"/var/dev/gpio-inputs/oxboMod1/value", "OXBO_MOD_1"},
    {"/var/dev/gpio-inputs/qorDpramBusyN/value", "QOR_DPRAM_BUSY_N"},
    {"/var/dev/gpio-inputs/qorDpramIrqN/value", "QOR_DPRAM_IRQ_N"},
    {"/var/dev/gpio-outputs/oxboRamLoaderEnable/value", "OXBO_RL"},
    {"/var/dev/gpio-outputs/oxboResetN/value", "OXBO_RESET1_N"},
    {"/var/dev/gpio-outputs/qorBootloaderEnableN/value", "QOR_BL_N"},
    {"/var/dev/gpio-outputs/qorResetN/value", "QOR_RESET0_N"},
    {"/sys/class/leds/ledGwStsGrn/brightness", "MS.green"},
    {"/sys/class/leds/ledGwStsRed/brightness", "MS.red"},
    {"/sys/class/leds/ledEthStsGrn/brightness", "NS.green"},
    {"/sys/class/leds/ledEthStsRed/brightness", "NS.red"},
    {"/sys/class/leds/ledLinkAct1Grn/brightness", "LINK_ACT1.green"},
    {"/sys/class/leds/ledLinkAct1Yel/brightness", "LINK_ACT1.yellow"},
    {"/sys/class/leds/ledLinkAct2Grn/brightness", "LINK_ACT2.green"},
    {"/sys/class/leds/ledLinkAct2Yel/brightness", "LINK_ACT2.yellow"},
};

// Prefix of other relevant files; the rest of the path is their name.
constexpr char TEST_FILE[] = "/velrix-lines-";

constexpr int MAX_FILES = 256;

// Used before and after main, so nothing here has a constructor or a destructor.
char openNames[MAX_FILES][64];
int openFiles = 0;
bool enabled = true;
bool lineOpen = false;
char failingWrite[64];
int writeError = 0;
char failingRead[64];
int readError = 0;
bool failFork = false;
bool failExec = false;
std::function<char()>* answerRead = nullptr;

void Emit(const char* before, const char* text, const char* after = "") {
    if (!enabled)
        return;
    const iovec parts[] = {{const_cast<char*>(before), std::strlen(before)},
                           {const_cast<char*>(text), std::strlen(text)},
                           {const_cast<char*>(after), std::strlen(after)}};
    if (::writev(STDOUT_FILENO, parts, 3) < 0)
        std::abort();
}

void EmitWord(const char* name, const char* what) {
    Emit(" ", name, what);
}

const char* NameOf(const char* path) {
    for (const auto& file : FILES)
        if (std::strcmp(file.path, path) == 0)
            return file.name;
    const char* file = std::strstr(path, TEST_FILE);
    return file ? file + sizeof TEST_FILE - 1 : nullptr;
}

// The name of an open file, or null for an irrelevant one.
const char* NameOf(int descriptor) {
    return descriptor >= 0 && descriptor < MAX_FILES && openNames[descriptor][0] ? openNames[descriptor] : nullptr;
}

// Coverage counters are written at exit, but not on exec and _exit.
void WriteCoverage() {
    if (__gcov_dump && __gcov_reset) {
        __gcov_dump();
        __gcov_reset();
    }
}

void CopyName(char (&target)[64], const char* name) {
    std::strncpy(target, name, sizeof target - 1);
    target[sizeof target - 1] = 0;
}

} // namespace

namespace SystemCallLog {

void Step(const std::string& text) {
    Emit(lineOpen ? "\n" : "", text.c_str(), ":");
    lineOpen = true;
}

void Note(const std::string& word) {
    EmitWord(word.c_str(), "");
}

void SetEnabled(bool on) {
    enabled = on;
}

int OpenFiles() {
    return openFiles;
}

void FailWrites(const std::string& file, int errorNumber) {
    CopyName(failingWrite, file.c_str());
    writeError = errorNumber;
}

void FailReads(const std::string& file, int errorNumber) {
    CopyName(failingRead, file.c_str());
    readError = errorNumber;
}

void FailFork() {
    failFork = true;
}

void FailExec() {
    failExec = true;
}

void AnswerReads(std::function<char()> answer) {
    delete answerRead;
    answerRead = new std::function<char()>(std::move(answer));
}

TestSupport::FakeClock& Clock() {
    static auto* const clock = new TestSupport::FakeClock; // for destructors of statics too
    return *clock;
}

} // namespace SystemCallLog

// The interposed functions. Each forwards to another function that the libraries do not use.
extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
    va_end(arguments);
    const int descriptor = ::openat(AT_FDCWD, path, flags, mode);
    const int error = errno;
    if (const char* name = NameOf(path)) {
        EmitWord("open(", name);
        Emit("", descriptor < 0 ? ")!" : ")");
        if (descriptor >= MAX_FILES)
            std::abort();
        if (descriptor >= 0) {
            CopyName(openNames[descriptor], name);
            ++openFiles;
        }
    }
    errno = error;
    return descriptor;
}

int close(int descriptor) {
    if (const char* name = NameOf(descriptor)) {
        EmitWord("close(", name);
        Emit("", ")");
        openNames[descriptor][0] = 0;
        --openFiles;
    }
    return static_cast<int>(::syscall(SYS_close, descriptor));
}

ssize_t write(int descriptor, const void* buffer, size_t count) {
    const char* name = NameOf(descriptor);
    if (name && writeError != 0 && std::strcmp(name, failingWrite) == 0) {
        EmitWord(name, "=!");
        errno = writeError;
        return -1;
    }
    const iovec part = {const_cast<void*>(buffer), count};
    const ssize_t written = ::writev(descriptor, &part, 1);
    const int error = errno;
    if (name && std::strcmp(name, "weblog") != 0) {
        const std::string value = "=" + std::string(static_cast<const char*>(buffer), count);
        EmitWord(name, written < 0 ? "=!" : value.c_str());
    }
    errno = error;
    return written;
}

ssize_t pread(int descriptor, void* buffer, size_t count, off_t offset) {
    const char* name = NameOf(descriptor);
    if (name && readError != 0 && std::strcmp(name, failingRead) == 0) {
        EmitWord(name, "?!");
        errno = readError;
        return -1;
    }
    const iovec part = {buffer, count};
    const ssize_t got = ::preadv(descriptor, &part, 1, offset);
    const int error = errno;
    if (name && answerRead && got > 0)
        *static_cast<char*>(buffer) = (*answerRead)();
    if (name && got > 0) {
        const std::string value = "?" + std::string(static_cast<const char*>(buffer), static_cast<size_t>(got));
        EmitWord(name, value.c_str());
    }
    errno = error;
    return got;
}

int clock_nanosleep(clockid_t, int, const struct timespec* length, struct timespec*) {
    const long long nanoseconds = static_cast<long long>(length->tv_sec) * 1'000'000'000 + length->tv_nsec;
    SystemCallLog::Clock().AdvanceNanoseconds(nanoseconds);
    EmitWord("sleep(", (std::to_string(nanoseconds / 1000) + ")").c_str());
    return 0;
}

pid_t fork() noexcept {
    if (failFork) {
        errno = EAGAIN;
        return -1;
    }
    return ::_Fork();
}

int execlp(const char* path, const char* first, ...) noexcept {
    va_list arguments;
    va_start(arguments, first);
    char* argv[4] = {const_cast<char*>(first)};
    for (int i = 1; i < 4 && argv[i - 1]; ++i)
        argv[i] = va_arg(arguments, char*);
    va_end(arguments);
    WriteCoverage();
    if (failExec) {
        EmitWord("exec(", path);
        Emit("", ")!");
        errno = ENOENT;
        return -1;
    }
    return ::execv(path, argv);
}

void _exit(int status) {
    WriteCoverage();
    ::syscall(SYS_exit_group, status);
    std::abort();
}

} // extern "C"
