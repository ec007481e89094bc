// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/Contest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace Bench {

namespace {

std::vector<std::pair<std::string, Contestant>>& Registered() {
    static std::vector<std::pair<std::string, Contestant>> peers;
    return peers;
}

std::vector<Reader>& RegisteredReaders() {
    static std::vector<Reader> readers;
    return readers;
}

// Time on a processor, not on the wall: a machine with other work to do would else decide who is fast.
double Nanoseconds() {
    timespec now;
    if (::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now) != 0)
        Fail("clock_gettime");
    return 1e9 * static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec);
}

// The same of all programs that this one has started and waited for.
double NanosecondsOfChildren() {
    rusage usage;
    if (::getrusage(RUSAGE_CHILDREN, &usage) != 0)
        Fail("getrusage");
    return 1e9 * static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e3 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

long HeapBytes() {
    const auto heap = ::mallinfo2();
    return static_cast<long>(heap.uordblks + heap.hblkhd);
}

struct FirstRead {
    double nanoseconds;
    long bytes;
};

FirstRead ReadInChild(Read read, const std::string& path) {
    int ends[2];
    if (::pipe(ends) != 0)
        Fail("pipe");
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child < 0)
        Fail("fork");
    if (child == 0) {
        const long before = HeapBytes();
        const double begin = Nanoseconds();
        const auto kept = read(path.c_str());
        const FirstRead result{Nanoseconds() - begin, HeapBytes() - before};
        ::_exit(::write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    ::close(ends[1]);
    FirstRead result{};
    const bool whole = ::read(ends[0], &result, sizeof result) == sizeof result;
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) != child || status != 0 || !whole)
        Fail(path.c_str());
    return result;
}

} // namespace

void Run(const Job& job, const std::vector<Contestant>& contestants, const std::string& path) {
    std::vector<Operation> operations;
    for (const Contestant& contestant : contestants)
        operations.push_back(contestant.prepare(path));
    const auto now = job.startsPrograms ? &NanosecondsOfChildren : &Nanoseconds;
    std::vector<double> best(contestants.size(), std::numeric_limits<double>::max());
    for (int round = 0; round < job.rounds; ++round)
        for (std::size_t i = 0; i < contestants.size(); ++i) {
            const double begin = now();
            operations[i](job.times);
            best[i] = std::min(best[i], (now() - begin) / job.times);
            if (job.afterRound)
                job.afterRound();
        }
    for (std::size_t i = 0; i < contestants.size(); ++i)
        std::printf("%s\tns\t%s\t%.1f\n", job.name, contestants[i].name, best[i]);
}

Peer::Peer(const char* job, Contestant contestant) {
    Registered().emplace_back(job, std::move(contestant));
}

std::vector<Contestant> WithPeers(const char* job, std::vector<Contestant> contestants) {
    for (const auto& [name, peer] : Registered())
        if (name == job)
            contestants.push_back(peer);
    return contestants;
}

PeerReader::PeerReader(Reader reader) {
    RegisteredReaders().push_back(reader);
}

const std::vector<Reader>& PeerReaders() {
    return RegisteredReaders();
}

void RunFirstReads(const char* job, int rounds, const std::vector<Reader>& readers, const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        Fail(path.c_str());
    std::vector<FirstRead> best(readers.size(), {std::numeric_limits<double>::max(), 0});
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < readers.size(); ++i) {
            const FirstRead result = ReadInChild(readers[i].read, path);
            best[i] = {std::min(best[i].nanoseconds, result.nanoseconds), result.bytes};
        }
    for (std::size_t i = 0; i < readers.size(); ++i)
        std::printf("%s\tns\t%s\t%.0f\n%s\tbytes\t%s\t%.2f\n", job, readers[i].name, best[i].nanoseconds, job,
                    readers[i].name, static_cast<double>(best[i].bytes) / static_cast<double>(status.st_size));
}

TemporaryFile::TemporaryFile(const std::string& text) : path("/tmp/peer-bench-XXXXXX") {
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0 || ::write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        Fail(path.c_str());
    ::close(descriptor);
}

TemporaryFile::~TemporaryFile() {
    ::unlink(path.c_str());
}

void Fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

} // namespace Bench
