// SPDX-License-Identifier: Apache-2.0
#include "board/time/ProgramThreads.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <set>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

// The limits of one look; a board with more is never asleep, which its watchdog says.
constexpr std::size_t MOST_PROCESSES = 1024;
constexpr std::size_t MOST_CHILDREN_TEXT = 16384;

FileDescriptor Open(const std::string& path, int flags = 0) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags));
}

// Nothing where the process is gone.
std::string_view Read(const FileDescriptor& file, char* buffer, std::size_t size) {
    const ssize_t length = ::pread(file.Get(), buffer, size, 0);
    return {buffer, length > 0 ? static_cast<std::size_t>(length) : 0};
}

template <class Number>
bool TakeNumber(std::string_view& text, Number& number, int base = 10) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == text.npos)
        return false;
    text.remove_prefix(begin);
    if (base == 16 && text.starts_with("0x"))
        text.remove_prefix(2);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

// The number that the process or thread has in its own namespace: the last one of "NSpid:".
pid_t InnerNumber(const std::string& directory, pid_t outer) {
    char buffer[4096];
    const std::string_view status = Read(Open(directory + "/status"), buffer, sizeof buffer);
    const std::size_t begin = status.find("\nNSpid:");
    if (begin == status.npos)
        return outer;
    std::string_view numbers = status.substr(begin + 7);
    numbers = numbers.substr(0, numbers.find('\n'));
    pid_t number = outer;
    while (TakeNumber(numbers, number)) {
    }
    return number;
}

// 'S' for one that sleeps; 0 for one that is gone.
char StateOf(const FileDescriptor& stat) {
    char buffer[512];
    const std::string_view text = Read(stat, buffer, sizeof buffer);
    const std::size_t nameEnd = text.rfind(')');
    return nameEnd == text.npos || text.size() < nameEnd + 3 ? '\0' : text[nameEnd + 2];
}

// Whether a thread waits for a child that has its memory until that executes a program or ends, as after vfork. The
// child may wait for long, such as for the other end of a FIFO.
bool WaitsForItsChild(char state, const ProgramThread& thread) {
    if (state != 'D' || thread.call < 0)
        return false;
#ifdef SYS_vfork
    if (thread.call == SYS_vfork)
        return true;
#endif
    // The flags of clone3 lie in the program's memory; the C library makes no processes with it but such ones.
    return thread.call == SYS_clone3 || (thread.call == SYS_clone && (thread.arguments[0] & CLONE_VFORK) != 0);
}

} // namespace

struct ProgramThreads::Files {
    pid_t process;
    pid_t number;
    bool isOfFirst; // a child of process 1
    FileDescriptor call{}, times{}, children{}, stat{};
    std::string childrenText{};
    std::uint64_t spentWhenListed = 0; // the thread has made nobody since
};

struct ProgramThreads::Process {
    pid_t inner = 0;
    bool isOfFirst = false;
    FileDescriptor tasks{};
    std::size_t threads = 0;
};

ProgramThreads::ProgramThreads() : loadAverage(Open("/proc/loadavg")) {}
ProgramThreads::~ProgramThreads() = default;

std::string ProgramThreads::MissingInProc() {
    const std::string own = "/proc/thread-self/";
    char buffer[256];
    for (const char* name : {"syscall", "schedstat", "children", "stat"})
        if (!Open(own + name))
            return "/proc/PID/task/TID/" + std::string(name) + ", which this machine does not have (" +
                   std::strerror(errno) + ")";
    std::string_view times = Read(Open(own + "schedstat"), buffer, sizeof buffer);
    std::uint64_t spent = 0;
    if (!TakeNumber(times, spent) || spent == 0)
        return "the processor times in /proc/PID/task/TID/schedstat, which this machine's kernel does not keep";
    return {};
}

void ProgramThreads::RequireProc() {
    if (const std::string missing = MissingInProc(); !missing.empty())
        throw BoardError("virtual time needs " + missing + "; use --time real");
}

bool ProgramThreads::AreAsleep() {
    if (first <= 0 || (!isListed && !List()))
        return false;
    // A single thread has nobody to hand work to, and need not be asked twice. Only a thread that it made before it
    // slept could run now, so it is looked for afterwards.
    if (found.size() == 1) {
        const bool isAsleep = Sleep(0);
        if (!IsAnyoneNew()) {
            if (!isAsleep)
                (void)ReadTimes(true);
            return isAsleep;
        }
    }
    // Where nobody is left, process 1 is about to say so.
    isListed = !found.empty() && ReadTimes(true) && !HasMadeOthers();
    for (std::size_t i = 0; isListed && i < found.size(); ++i)
        if (!Sleep(i))
            return false;
    if (!isListed || !ReadTimes(false))
        return false;
    for (std::size_t i = 0; i < found.size(); ++i)
        files[i]->spentWhenListed = found[i].spent;
    newest = newestSeen;
    return true;
}

// Whether any process or thread of the machine was made since the last look that found all asleep: the last word of
// the load average is the number of the newest one.
bool ProgramThreads::IsAnyoneNew() {
    char buffer[128];
    const std::string_view load = Read(loadAverage, buffer, sizeof buffer);
    newestSeen = load.substr(std::min(load.rfind(' '), load.size()));
    return newestSeen.empty() || newestSeen != newest;
}

// The processor times, for the first time or, as long as they are the same, for the second time. False too when a
// thread is gone.
bool ProgramThreads::ReadTimes(bool areFirst) {
    char buffer[128];
    for (std::size_t i = 0; i < found.size(); ++i) {
        std::string_view times = Read(files[i]->times, buffer, sizeof buffer);
        std::uint64_t spent = 0;
        if (!TakeNumber(times, spent) || (!areFirst && spent != found[i].spent)) {
            isListed = isListed && !times.empty();
            return false;
        }
        found[i].spent = spent;
    }
    return true;
}

// Of threads that ran.
bool ProgramThreads::HasMadeOthers() {
    char buffer[MOST_CHILDREN_TEXT];
    for (std::size_t i = 0; i < found.size(); ++i) {
        Files& each = *files[i];
        if (found[i].spent == each.spentWhenListed)
            continue;
        const Process& process = processes.at(each.process);
        struct stat status {};
        // A link for each thread, "." and "..".
        if (::fstat(process.tasks.Get(), &status) != 0 || status.st_nlink != process.threads + 2 ||
            Read(each.children, buffer, sizeof buffer) != each.childrenText)
            return true;
    }
    return false;
}

// A thread that is about to sleep has the state 'S' already, while it runs; but the kernel says the number of a call of
// threads alone that are off the processor. It does so as well of one that is being woken, whose state is no 'S' any
// more. Of a thread whose secrets it keeps it says nothing.
bool ProgramThreads::Sleep(std::size_t thread) {
    ProgramThread& seen = found[thread];
    const Files& each = *files[thread];
    const char state = StateOf(each.stat);
    char buffer[256];
    std::string_view text = Read(each.call, buffer, sizeof buffer);
    seen.isReadable = !text.empty();
    seen.call = -1;
    if (seen.isReadable && TakeNumber(text, seen.call) && seen.call >= 0)
        for (std::uint64_t& argument : seen.arguments)
            (void)TakeNumber(text, argument, 16);
    // One that has ended and whose parent does not care; process 1 cares. A main thread that has ended while others go
    // on concerns nobody.
    if (state == 'Z' || state == 'X') {
        seen.isReadable = true;
        const bool isAwaited = each.isOfFirst && processes.at(each.process).threads == 1;
        isListed = isListed && !isAwaited;
        return !isAwaited;
    }
    // Stopped by a signal, as opposed to one that a debugger stopped: its wait goes on when it does.
    if (state == 'T') {
        seen.isReadable = true;
        seen.call = -1;
        return true;
    }
    isListed = isListed && state != '\0';
    return WaitsForItsChild(state, seen) || (state == 'S' && (!seen.isReadable || seen.call >= 0));
}

// Finds all processes and threads there are now. False when one is gone meanwhile.
bool ProgramThreads::List() {
    std::set<pid_t> present;
    std::vector<pid_t> waiting = {first};
    lastFiles = std::move(files);
    files.clear();
    found.clear();
    while (!waiting.empty()) {
        const pid_t number = waiting.back();
        waiting.pop_back();
        if (!present.insert(number).second)
            continue;
        if (present.size() > MOST_PROCESSES || !ListProcess(number, waiting))
            break;
        isListed = waiting.empty();
    }
    std::erase_if(processes, [&present](const auto& each) { return present.count(each.first) == 0; });
    lastFiles.clear();
    return isListed;
}

bool ProgramThreads::ListProcess(pid_t number, std::vector<pid_t>& children) {
    Process& process = processes[number];
    const std::string directory = "/proc/" + std::to_string(number);
    if (!process.tasks) {
        process.tasks = Open(directory + "/task", O_DIRECTORY);
        process.inner = InnerNumber(directory, number);
    }
    const std::size_t before = files.size();
    if (!ListThreads(number, process)) { // perhaps another process has its number now
        processes.erase(number);
        return false;
    }
    char buffer[MOST_CHILDREN_TEXT];
    for (std::size_t i = before; i < files.size(); ++i) {
        std::string_view text = Read(files[i]->children, buffer, sizeof buffer);
        if (text.size() == sizeof buffer)
            return false;
        files[i]->childrenText = text;
        for (pid_t child = 0; TakeNumber(text, child); processes[child].isOfFirst = number == first)
            children.push_back(child);
    }
    if (number != first)
        return true;
    files.resize(before);
    found.resize(before);
    return true;
}

bool ProgramThreads::ListThreads(pid_t number, Process& process) {
    const std::string tasks = "/proc/self/fd/" + std::to_string(process.tasks.Get());
    std::error_code error;
    process.threads = 0;
    for (std::filesystem::directory_iterator entry(tasks, error), end; !error && entry != end; entry.increment(error)) {
        const pid_t thread = std::atoi(entry->path().filename().c_str());
        const auto known = std::find_if(lastFiles.begin(), lastFiles.end(), [=](const auto& each) {
            return each != nullptr && each->process == number && each->number == thread;
        });
        const std::string directory = tasks + "/" + std::to_string(thread);
        ++process.threads;
        if (known != lastFiles.end()) {
            files.push_back(std::move(*known));
        } else {
            files.push_back(std::make_unique<Files>(Files{number, thread, process.isOfFirst}));
            files.back()->call = Open(directory + "/syscall");
            files.back()->times = Open(directory + "/schedstat");
            files.back()->children = Open(directory + "/children");
            files.back()->stat = Open(directory + "/stat");
        }
        files.back()->isOfFirst = process.isOfFirst;
        files.back()->spentWhenListed = 0;
        found.push_back({process.inner, InnerNumber(directory, thread)});
    }
    return !error && process.threads != 0;
}

const ProgramThreads::Files* ProgramThreads::Find(const ProgramThread& thread) const {
    for (std::size_t i = 0; i < found.size(); ++i)
        if (found[i].process == thread.process && found[i].number == thread.number)
            return files[i].get();
    return nullptr;
}

std::string ProgramThreads::Describe(const ProgramThread& thread) const {
    const Files* const known = Find(thread);
    if (known == nullptr)
        return "a thread that has ended";
    char buffer[64];
    const std::string process = std::to_string(known->process);
    std::string_view name = Read(Open("/proc/" + process + "/comm"), buffer, sizeof buffer);
    name = name.substr(0, name.find('\n'));
    return "thread " + std::to_string(known->number) + " of " + std::string(name) + " (process " + process + ")";
}

void ProgramThreads::Send(const TimerSignal& signal) {
    siginfo_t information{};
    information.si_signo = signal.signal;
    information.si_code = signal.code;
    information.si_timerid = signal.timer;
    information.si_value.sival_ptr = reinterpret_cast<void*>(static_cast<std::uintptr_t>(signal.value));
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i].process != signal.process || (signal.thread != 0 && found[i].number != signal.thread))
            continue;
        if (signal.code != SI_TIMER)
            ::kill(files[i]->process, signal.signal);
        else if (signal.thread == 0)
            ::syscall(SYS_rt_sigqueueinfo, files[i]->process, signal.signal, &information);
        else
            ::syscall(SYS_rt_tgsigqueueinfo, files[i]->process, files[i]->number, signal.signal, &information);
        return;
    }
}

} // namespace VelrixBoard
