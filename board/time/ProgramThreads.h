// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>

#include "board/base/FileDescriptor.h"
#include "board/time/IProgramThreads.h"

namespace VelrixBoard {

// The threads of the descendants of process 1, from /proc.
//
// A look asks each thread first for its processor time, then whether it sleeps, and then for its time again. A thread
// that used no processor time between its two answers woke nobody and made nobody. So there was a moment in which all
// of them slept. A look at the states alone can be fooled by two threads that hand work to each other.
//
// Which threads there are is found out again when one is gone, or one that ran has made others.
class ProgramThreads final : public IProgramThreads {
public:
    ProgramThreads();
    ProgramThreads(const ProgramThreads&) = delete;
    ProgramThreads& operator=(const ProgramThreads&) = delete;
    ~ProgramThreads() override;

    // What this machine's /proc does not say and virtual time needs; empty: it says enough.
    static std::string MissingInProc();

    // Throws BoardError where it does not.
    static void RequireProc();

    // Process 1, by the machine's number. It only does something when one of its children has ended, or by order of the
    // board, so it is not looked at.
    void SetFirst(pid_t init) { first = init; }

    bool AreAsleep() override;
    bool IsStillAlone() override { return isListed && found.size() == 1 && !IsAnyoneNew(); }
    const std::vector<ProgramThread>& Threads() const override { return found; }
    std::string Describe(const ProgramThread& thread) const override;
    void Send(const TimerSignal& signal) override;

private:
    struct Files;
    struct Process;

    bool List();
    bool ListProcess(pid_t number, std::vector<pid_t>& children);
    bool ListThreads(pid_t number, Process& process);
    bool ReadTimes(bool areFirst);
    bool HasMadeOthers();
    bool IsAnyoneNew();
    bool Sleep(std::size_t thread);
    const Files* Find(const ProgramThread& thread) const;

    pid_t first = -1;
    bool isListed = false;
    FileDescriptor loadAverage;
    std::string newest; // of the machine's processes and threads, when all slept last
    std::string newestSeen;
    std::map<pid_t, Process> processes;            // by the machine's numbers, with process 1
    std::vector<ProgramThread> found;              // without process 1's
    std::vector<std::unique_ptr<Files>> files;     // of each of them
    std::vector<std::unique_ptr<Files>> lastFiles; // while the list is made
};

} // namespace VelrixBoard
