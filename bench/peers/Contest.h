// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Bench {

// Does a job that many times.
using Operation = std::function<void(int times)>;

// Who takes part in a job. The runtime and the library are "ours", and the least that the machine can do for the same
// is the "limit"; all others are peers, each in a source that is compiled only where its package is installed.
struct Contestant {
    const char* name;
    // Makes ready and gives the operation; path is the job's file, for those that have one.
    std::function<Operation(const std::string& path)> prepare;
};

// Runs the contestants in turn, round after round, so that what else the machine does meets all of them alike; prints
// for each one line: job, "ns", name, and the nanoseconds on a processor of one operation in its best round.
struct Job {
    const char* name;
    int rounds;
    int times;                          // operations a round
    bool startsPrograms = false;        // their time counts, not that of this program
    std::function<void()> afterRound{}; // not timed
};
void Run(const Job& job, const std::vector<Contestant>& contestants, const std::string& path = {});

// Peers register themselves before main, under the job that they can do.
struct Peer {
    Peer(const char* job, Contestant contestant);
};
std::vector<Contestant> WithPeers(const char* job, std::vector<Contestant> contestants);

// Reads a file of settings and gives what has to live for its values to be asked for.
using Read = std::shared_ptr<void> (*)(const char* path);

struct Reader {
    const char* name;
    Read read;
    long most; // the longest file in bytes that is worth the wait
};
struct PeerReader {
    explicit PeerReader(Reader reader);
};
const std::vector<Reader>& PeerReaders();

// Each contestant reads the file in a fresh process, so that nobody profits from the memory of another. Prints also
// lines "bytes": the memory that stays for each byte of the file.
void RunFirstReads(const char* job, int rounds, const std::vector<Reader>& readers, const std::string& path);

// A file that is gone at the end of the program.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text = {});
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    const std::string& Path() const { return path; }

private:
    std::string path;
};

// The optimizer must take it that the value is used.
template <class T>
void Use(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

[[noreturn]] void Fail(const char* what);

} // namespace Bench
