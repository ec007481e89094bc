// SPDX-License-Identifier: Apache-2.0
// Steps with the descriptors and streams of open value files.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/preload/StandInBoard.h"
#include "tests/preload/Steps.h"

namespace VelrixBoard::Preload {

namespace {

constexpr const char* OUTPUT = StandInBoard::OUTPUT_PATH;
constexpr const char* LED = StandInBoard::LED_PATH;
constexpr const char* INPUT = StandInBoard::INPUT_PATH;

// Additional stack for sanitizers.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t SANITIZER_STACK = 65536;
#elif defined(__has_feature)
constexpr std::size_t SANITIZER_STACK = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ? 65536 : 0;
#else
constexpr std::size_t SANITIZER_STACK = 0;
#endif

int Open(const char* path, int flags = O_RDWR) {
    return ::open(path, flags | O_CLOEXEC, 0600);
}

std::string Read(int file) {
    std::array<char, 16> text{};
    const ssize_t size = ::read(file, text.data(), text.size());
    return size < 0 ? Of(size) : std::string(text.data(), static_cast<std::size_t>(size));
}

std::string ReadAt(int file, off_t offset) {
    std::array<char, 16> text{};
    const ssize_t size = ::pread(file, text.data(), text.size(), offset);
    return size < 0 ? Of(size) : std::string(text.data(), static_cast<std::size_t>(size));
}

void Write(const std::string&) {
    const int file = Open(OUTPUT);
    std::array<char, 2> bytes = {'0', '\n'};
    const std::array<iovec, 2> parts = {iovec{&bytes[0], 1}, iovec{&bytes[1], 1}};
    Print({Of(::write(file, "1", 1)), Of(::pwrite(file, "0", 1, 100)), Of(::pwrite64(file, "1", 1, 0)),
           Of(::writev(file, parts.data(), 2)), Of(::pwritev(file, parts.data(), 2, 5)),
           Of(::pwritev2(file, parts.data(), 2, -1, 0)), Of(::dprintf(file, "%d\n", 1)), Of(::write(file, "", 0)),
           Of(::write(file, "x", 1))});
    const std::string pages(5000, '1');
    Print({Of(::write(file, pages.data(), pages.size())), Of(::write(file, reinterpret_cast<void*>(1), 1)),
           Of(::pwrite(file, "1", 1, -1)), Of(::writev(file, parts.data(), -1))});
    const int reading = Open(OUTPUT, O_RDONLY);
    Print({Of(::write(reading, "1", 1)), Of(::write(reading, "", 0)), Of(::ftruncate(file, 0)),
           Of(::ftruncate(reading, 0)), Of(::ftruncate(file, -1)), Of(::fsync(file)), Of(::fdatasync(file)),
           Of(::fchmod(file, 0600)), Of(::fchown(file, 0, 0)), Of(::fallocate(file, 0, 0, 1)),
           std::to_string(::posix_fallocate(file, 0, 1)), std::to_string(::posix_fallocate(reading, 0, 1)),
           Of(::futimens(file, nullptr)),
           ::mmap(nullptr, 1, PROT_READ, MAP_SHARED, file, 0) == MAP_FAILED ? Of(-1) : ""});
}

void ReadAndSeek(const std::string&) {
    const int file = Open(OUTPUT);
    std::array<char, 2> bytes{};
    const std::array<iovec, 2> parts = {iovec{&bytes[0], 1}, iovec{&bytes[1], 1}};
    Print({Read(file), "end" + Read(file), ReadAt(file, 1), ReadAt(file, -1), Of(::preadv(file, parts.data(), 2, 0)),
           std::string(bytes.data(), 2)});
    Print({Of(::lseek(file, 0, SEEK_CUR)), Of(::lseek(file, 1, SEEK_SET)), "part" + Read(file),
           Of(::lseek(file, 0, SEEK_END)), Of(::lseek(file, -1, SEEK_SET)), Of(::lseek64(file, 3, SEEK_HOLE)),
           Of(::lseek(file, 9, SEEK_DATA)), Of(::lseek(file, 0, 99))});
    (void)::lseek(file, 0, SEEK_SET);
    Print({Of(::readv(file, parts.data(), 2)), Of(::read(file, bytes.data(), 0)),
           Of(::read(Open(OUTPUT, O_WRONLY), bytes.data(), 1)), Of(::preadv2(file, parts.data(), 2, -1, 0))});
    Print({Of(::fcntl(file, F_GETFL) & (O_ACCMODE | O_APPEND)), Of(::fcntl(file, F_SETFL, O_APPEND)),
           Of(::fcntl(file, F_GETFL) & (O_ACCMODE | O_APPEND)), Of(::fcntl(file, F_GETFD)),
           Of(::fcntl(::open(OUTPUT, O_RDONLY), F_GETFD)), Of(::isatty(file))});
}

void Duplicate(const std::string&) {
    const int file = Open(OUTPUT);
    const int copy = ::dup(file);
    const int second = ::dup2(file, 50);
    const int third = ::dup3(file, 51, O_CLOEXEC);
    const int fourth = ::fcntl(file, F_DUPFD, 600);
    const int fifth = ::fcntl(file, F_DUPFD_CLOEXEC, 700);
    ::close(file);
    Print({Of(::write(copy, "1", 1)), Of(::write(second, "0", 1)), Of(::write(third, "1", 1)),
           Of(::write(fourth, "0", 1)), Of(::write(fifth, "x", 1)), Of(::write(file, "1", 1))});
    // The descriptor of a value file was reused, maybe without a hook.
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    Print({Of(::dup2(null, copy) == copy), Of(::write(copy, "x", 1)), Of(::close_range(50, 51, 0)),
           Of(::write(second, "1", 1)), Of(::write(fourth, "1", 1))});
    std::fflush(stdout);
    const int process = ::fork();
    if (process == 0)
        ::_exit(::write(fourth, "0", 1) == 1 && ::close(fourth) == 0 && ::write(fifth, "x", 1) < 0 ? 7 : 1);
    int status = 0;
    ::waitpid(process, &status, 0);
    Print({std::to_string(WEXITSTATUS(status)), Of(::write(fourth, "1", 1))});
}

int LowestFree() {
    const int descriptor = ::dup(STDIN_FILENO);
    ::close(descriptor);
    return descriptor;
}

std::vector<int> OpenDescriptors() {
    std::vector<int> numbers;
    DIR* const folder = ::opendir("/proc/self/fd");
    while (const dirent* entry = ::readdir(folder))
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != ::dirfd(folder))
            numbers.push_back(std::atoi(entry->d_name));
    ::closedir(folder);
    return numbers;
}

// The connections to the board do not occupy low numbers, and cannot be closed.
void KeepConnections(const std::string&) {
    ::closefrom(3);
    Print({std::to_string(OpenDescriptors().size()), std::to_string(LowestFree())});
    const int file = Open(OUTPUT);
    int own = -1;
    for (const int number : OpenDescriptors())
        own = number > file ? number : own;
    Print({std::to_string(file), std::to_string(own > 200), Of(::write(file, "1", 1))});
    Print({Of(::close(own)), Of(::dup(own)), Of(::fcntl(own, F_GETFD)), Of(::close_range(100, ~0U, 0)),
           Of(::write(file, "0", 1)), Of(static_cast<int>(OpenDescriptors().back() == own))});
    ::closefrom(file + 1);
    Print({Of(::write(file, "1", 1)), Of(::dup2(STDIN_FILENO, own) == own), Of(::write(file, "0", 1)), Of(::close(own)),
           Of(::write(file, "1", 1))});
    std::fflush(stdout);
    const int process = ::fork();
    if (process == 0)
        ::_exit(static_cast<int>(OpenDescriptors().size()));
    int status = 0;
    ::waitpid(process, &status, 0);
    Print({std::to_string(WEXITSTATUS(status)), std::to_string(OpenDescriptors().size())});
}

// A number beyond the usual limit, with a few thousand open below it.
void UseHighNumbers(const std::string&) {
    rlimit limit{};
    (void)::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
    const int number = ::fcntl(Open(OUTPUT), F_DUPFD_CLOEXEC, 3000);
    Print({std::to_string(number), Of(::write(number, "1", 1))});
}

void UseStreams(const std::string&) {
    FILE* stream = std::fopen(OUTPUT, "w");
    Print({Of(std::fputs("1\n", stream)), Of(std::fclose(stream))});
    stream = std::fopen(OUTPUT, "w");
    std::fputs("junk", stream);
    Print({Of(std::fflush(stream)), std::to_string(std::ferror(stream) != 0)});
    std::clearerr(stream);
    Print({Of(std::fputs("0", stream)), Of(std::fflush(stream)), Of(static_cast<int>(::fileno(stream) > 2)),
           Of(::write(::fileno(stream), "1", 1)), Of(std::fclose(stream))});
    stream = std::fopen(OUTPUT, "r+");
    std::array<char, 8> text{};
    Print({Of(std::fgets(text.data(), text.size(), stream) != nullptr), text.data(),
           Of(std::fseek(stream, 0, SEEK_SET)), Of(std::fputs("0", stream)), Of(std::fclose(stream))});
    stream = ::fdopen(Open(LED), "w");
    Print({Of(std::fprintf(stream, "%d", 1)), Of(std::fclose(stream)),
           Of(static_cast<const void*>(std::fopen("/var/dev/none", "w"))),
           Of(static_cast<const void*>(std::fopen(OUTPUT, "wx"))),
           Of(static_cast<const void*>(std::fopen(OUTPUT, "q")))});
    // A stream whose address the program has: its writes become values without an answer.
    FILE* const kept = std::fopen("/dev/null", "w");
    Print({Of(std::freopen(LED, "w", kept) == kept), Of(std::fputs("0", kept)), Of(std::fclose(kept))});
}

void UseStandardOutput(const std::string&) {
    FILE* const errors = ::fdopen(::dup(STDOUT_FILENO), "w");
    std::fflush(stdout);
    std::string results = Of(std::freopen(OUTPUT, "w", stdout) != nullptr);
    std::printf("1");
    results += Of(std::fflush(stdout));
    std::printf("junk");
    results += Of(std::fflush(stdout)) + Of(::fileno(stdout));
    std::clearerr(stdout);
    std::fprintf(errors, "%s\n", results.c_str());
    std::fclose(errors);
}

// Standard output is temporarily a value file, by close and open.
void ExchangeStandardOutput(const std::string&) {
    FILE* const before = stdout;
    const int kept = ::dup(STDOUT_FILENO);
    ::close(STDOUT_FILENO);
    std::vector<std::string> results = {Of(::open(OUTPUT, O_WRONLY))};
    std::fputs("junk", stdout);
    results.push_back(Of(std::fflush(stdout)));
    std::clearerr(stdout);
    std::fputs("1", stdout);
    ::dup2(kept, STDOUT_FILENO);
    results.push_back(std::to_string(stdout != before));
    ::dup2(::open(OUTPUT, O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    results.push_back(std::to_string(stdout == before));
    std::fclose(stdout);
    ::dup2(kept, STDOUT_FILENO);
    Print(results);
    std::puts("back again");
}

void UseIostreams(const std::string&) {
    std::ofstream output(OUTPUT);
    output << 1 << std::endl;
    const bool first = output.good();
    output << "junk" << std::flush;
    const bool second = output.good();
    std::ifstream input(OUTPUT);
    std::string level;
    input >> level;
    std::ofstream none("/var/dev/none");
    Print({std::to_string(first), std::to_string(second), level, std::to_string(none.good())});
}

// Reads the latest level, even if it changes during the read.
void ReadLate(const std::string& way) {
    const int file = Open(INPUT, O_RDONLY);
    (void)ReadAt(file, 0);
    const std::string text = way == "at" ? ReadAt(file, 0) : Read(file);
    Print({text + ReadAt(file, 0), Of(::lseek(file, 0, SEEK_CUR))});
}

void WriteInThreads(const std::string&) {
    constexpr int THREADS = 8, WRITES = 200;
    std::array<int, THREADS> failed{};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < THREADS; ++t)
        threads.emplace_back([&failed, t] {
            const int file = Open(t % 2 == 0 ? OUTPUT : LED);
            for (int i = 0; i < WRITES; ++i)
                failed[t] += ::write(file, i % 2 == 0 ? "1" : "0", 1) != 1;
            ::close(file);
        });
    for (std::thread& thread : threads)
        thread.join();
    int sum = 0;
    for (const int count : failed)
        sum += count;
    Print({std::to_string(sum)});
}

int handlersFile = -1;
ssize_t handlersResult = 0;

// A signal interrupts the wait for a slow file; its handler uses another file.
void BeInterrupted(const std::string&) {
    struct sigaction action {};
    action.sa_flags = SA_RESTART;
    action.sa_handler = [](int) { handlersResult = ::write(handlersFile, "1", 1); };
    ::sigaction(SIGUSR1, &action, nullptr);
    handlersFile = Open(LED);
    const int file = Open(OUTPUT);
    std::atomic<bool> isDone = false;
    const pthread_t self = ::pthread_self();
    std::thread signaller([&] {
        while (!isDone) {
            ::pthread_kill(self, SIGUSR1);
            std::this_thread::yield();
        }
    });
    const std::string result = Of(::write(file, "1", 1));
    isDone = true;
    signaller.join();
    Print({result, std::to_string(handlersResult)});
}

void LoseConnections(const std::string&) {
    const int file = Open(OUTPUT);
    Print({Of(::write(file, "1", 1)), Of(::write(file, "0", 1)), Of(::write(file, "1", 1))});
    // By a direct system call, without a hook; then the number is reused.
    const std::vector<int> numbers = OpenDescriptors();
    const int own = *std::max_element(numbers.begin(), numbers.end());
    ::syscall(SYS_close, own);
    (void)::syscall(SYS_dup3, ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0), own, 0);
    Print({Of(::write(file, "0", 1)), Of(::fcntl(own, F_GETFD))});
}

// A thread that waits for a slow file can be cancelled; the next to ask gets its own answer.
void BeCancelled(const std::string&) {
    const int input = Open(INPUT, O_RDONLY);
    (void)ReadAt(input, 0);
    pthread_t thread{};
    (void)::pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
            const int file = Open(OUTPUT);
            (void)!::write(file, "1", 1);
            return nullptr;
        },
        nullptr);
    pollfd wait{input, POLLPRI, 0};
    (void)::poll(&wait, 1, 60000); // until the board has received the request
    ::pthread_cancel(thread);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    const int led = Open(LED);
    Print({result == PTHREAD_CANCELED ? "cancelled" : "ended", Of(::write(led, "1", 1)), ReadAt(led, 0)});
}

// The minimum stack of a thread suffices.
void UseSmallStack(const std::string&) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes,
                                static_cast<std::size_t>(::sysconf(_SC_THREAD_STACK_MIN)) + SANITIZER_STACK);
    pthread_t thread{};
    const auto use = [](void*) -> void* {
        struct stat status {};
        static std::array<int, 6> results;
        const int file = ::open(OUTPUT, O_RDWR | O_CLOEXEC);
        results[0] = static_cast<int>(::write(file, "1", 1));
        results[1] = ::stat("/mnt/share/none", &status);
        results[2] = ::rename("/mnt/share/none", "/mnt/share/other");
        results[3] = ::mkdir("/var/dev/none", 0700);
        results[4] = ::access("/etc/velrix-none/none", F_OK);
        results[5] = ::chdir("/mnt/share");
        return &results;
    };
    (void)::pthread_create(&thread, &attributes, use, nullptr);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    std::vector<std::string> texts;
    for (const int number : *static_cast<std::array<int, 6>*>(result))
        texts.push_back(std::to_string(number));
    Print(texts);
}

void TryAll(const std::string&) {
    const int file = Open(OUTPUT);
    Print({Of(file), Of(::write(file, "1", 1)), Read(file)});
}

} // namespace

std::vector<Step> ValueSteps() {
    return {{"write", Write},
            {"read", ReadAndSeek},
            {"duplicate", Duplicate},
            {"connections", KeepConnections},
            {"high numbers", UseHighNumbers},
            {"streams", UseStreams},
            {"standard output", UseStandardOutput},
            {"streams that come and go", ExchangeStandardOutput},
            {"iostreams", UseIostreams},
            {"read late", ReadLate},
            {"threads", WriteInThreads},
            {"interrupt", BeInterrupted},
            {"lose connections", LoseConnections},
            {"cancel", BeCancelled},
            {"small stack", UseSmallStack},
            {"try all", TryAll}};
}

} // namespace VelrixBoard::Preload
