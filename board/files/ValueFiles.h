// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Clock.h"
#include "board/files/DeviceTree.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/model/Fault.h"

namespace VelrixBoard {

// The value files of a board, with the semantics that these files have on the device, however they reach the program:
//
// - every write is one new value, wherever in the file it is written; O_TRUNC and truncate do nothing;
// - a read gives "0\n" or "1\n", always as it is at that time;
// - what is no number fails with EINVAL; inputs cannot be opened for writing; nothing can be made, renamed or removed;
// - poll gives POLLPRI and POLLERR until the latest level of an input was read, and once for a file just opened.
//
// What the program writes goes into the BoardState. A request is never waited for: the answer of a slow file is kept
// until its time. Files are named by their numbers in the tree. One thread.
class ValueFiles final : public ILoopPart {
public:
    using Number = DeviceTree::Number;

    // Called once for each read and write: an error number or 0, and for a read that succeeded the level.
    using Answer = std::function<void(int error, bool level)>;

    // Names a request that waits for its answer; 0 is none.
    using Ticket = std::uint64_t;

    // The size that the device's value files show, and the most that one write takes there.
    static constexpr std::size_t PAGE = 4096;

    // Files whose path is in without are missing from the start.
    ValueFiles(BoardState& boardState, Clock boardClock, const std::set<std::filesystem::path>& without);

    const DeviceTree& Tree() const { return tree; }
    bool IsMissing(Number file) const;

    // Whether the file of an output or LED element, which a program may write to.
    bool IsWritable(Number file) const;

    // Why the file cannot be opened: an error number, or 0.
    int OpenError(Number file, bool forWriting) const;

    // Reads the level, or writes the text as one value. Gives 0 when the answer was called already, and otherwise the
    // ticket of a request to a slow file.
    Ticket Read(Number file, Answer answer);
    Ticket Write(Number file, std::string_view text, Answer answer);

    // The program does not wait for a slow file any longer: EINTR is answered in the next Run. Unknown tickets are
    // ignored, as those of requests that were answered meanwhile.
    void Interrupt(Ticket ticket);

    // Forgets the request, which then gets no answer and has no effect.
    void Drop(Ticket ticket);

    // The number of the file's latest event: 1 is that the file is there, each new level of an input that came from
    // outside is one more. Who has not seen it finds POLLPRI and POLLERR.
    std::uint64_t LatestEvent(Number file) const;

    // Has the function called after each event of a file. Replaces the one before.
    void OnEvent(std::function<void(Number)> function) { tellEvent = std::move(function); }

    // Gives an input another level; who waits for it by poll is woken.
    void DriveInput(std::size_t signal, bool level);

    // Breaks the signal's file or makes it whole again, also for who has it open. Throws BoardError for a signal
    // without a file, and for a full device below an input.
    void SetFault(std::size_t signal, const std::optional<Fault>& fault);
    std::optional<Fault> FaultOf(std::size_t signal) const { return faults[signal]; }

    // Answers requests to slow files. There is nothing to wait for but the time.
    int Descriptor() const override { return -1; }
    std::optional<BoardTime> Due() const override;
    void Run(BoardTime now) override;

private:
    struct Request {
        Number file;
        std::optional<std::string> text; // of a write
        Answer answer;
        Ticket ticket = 0;
        BoardTime due{};
        bool interrupted = false;
    };

    Ticket Take(Request request);
    void Carry(const Request& request);
    int CarryWrite(const Request& request);
    const Fault* FaultOfFile(Number file) const;
    std::list<Request>::iterator FindLate(Ticket ticket);

    BoardState& state;
    Clock clock;
    DeviceTree tree;
    std::vector<std::optional<Fault>> faults; // by signal
    std::map<Number, std::uint64_t> events;   // how often each input's level changed from outside
    std::function<void(Number)> tellEvent = [](Number) {};
    std::list<Request> late; // of slow files; in no order
    Ticket nextTicket = 1;
};

} // namespace VelrixBoard
