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

// The value files of a board, with the device's semantics, for every isolation:
//
// - every write is one new value, at any offset; O_TRUNC and truncate do nothing;
// - a read gives "0\n" or "1\n", never cached;
// - other text than a number fails with EINVAL; inputs cannot be opened for writing; nothing can be created, renamed or
// removed;
// - poll reports POLLPRI and POLLERR until the latest edge of an input was read, and once for a file just opened.
//
// Writes of the program go into the BoardState. No request blocks: the answer of a slow file is delayed by a timer.
// Files are identified by their numbers in the tree. One thread at a time.
class ValueFiles final : public ILoopPart {
public:
    using Number = DeviceTree::Number;

    // Called once per read and write: an error number or 0, and the level of a successful read.
    using Answer = std::function<void(int error, bool level)>;

    // Identifies a pending request; 0 is none.
    using Ticket = std::uint64_t;

    // The st_size of the device's value files, and the largest write.
    static constexpr std::size_t PAGE = 4096;

    // Files with a path in without are missing from the start.
    ValueFiles(BoardState& boardState, Clock boardClock, const std::set<std::filesystem::path>& without);

    const DeviceTree& Tree() const { return tree; }
    bool IsMissing(Number file) const;

    // Whether a program may write to the file: an output or LED element.
    bool IsWritable(Number file) const;

    // The error of opening the file, or 0.
    int OpenError(Number file, bool forWriting) const;

    // Reads the level, or writes the text as one value. Returns 0 when it has called the answer already, otherwise the
    // ticket of a request to a slow file.
    Ticket Read(Number file, Answer answer) { return Take({file, std::nullopt, std::move(answer)}); }
    Ticket Write(Number file, std::string_view text, Answer answer);

    // A signal interrupted the wait for a slow file: the next Run answers EINTR. Ignores unknown tickets, such as those
    // of answered requests.
    void Interrupt(Ticket ticket);

    // Drops the request, without an answer or an effect.
    void Drop(Ticket ticket);

    // The sequence number of the file's latest event: 1 for the file's existence, and one more for each edge of an
    // input from outside. A reader that has not seen it gets POLLPRI and POLLERR.
    std::uint64_t LatestEvent(Number file) const;

    // Sets the callback for events of files.
    void OnEvent(std::function<void(Number)> function) { tellEvent = std::move(function); }

    // Has the function called before each read and write. Replaces the one before.
    void OnRequest(std::function<void()> function) { tellRequest = std::move(function); }

    // Drives an input; wakes up poll.
    void DriveInput(std::size_t signal, bool level);

    // Injects or removes a fault, also for open descriptors. Throws BoardError for a signal without a file, and for
    // ENOSPC of an input.
    void SetFault(std::size_t signal, const std::optional<Fault>& fault);
    std::optional<Fault> FaultOf(std::size_t signal) const { return faults[signal]; }

    // Answers due requests to slow files; has only a timer.
    std::optional<BoardTime> Due() const override;
    void Run(BoardTime now) override;

private:
    struct Request {
        Number file;
        std::optional<std::string> text; // of a write
        Answer answer;
        Ticket ticket = 0;
        BoardTime due{};
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
    std::map<Number, std::uint64_t> events;   // edges of each input from outside
    std::function<void(Number)> tellEvent = [](Number) {};
    std::function<void()> tellRequest = [] {};
    std::list<Request> late; // of slow files, unordered
    Ticket nextTicket = 1;
};

} // namespace VelrixBoard
