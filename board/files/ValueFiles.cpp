// SPDX-License-Identifier: Apache-2.0
#include "board/files/ValueFiles.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "board/base/BoardError.h"
#include "board/files/ValueText.h"

namespace VelrixBoard {

namespace {

// The time of a request that was interrupted: before all others.
constexpr BoardTime INTERRUPTED{-1};

// The fault's error of a read or a write; 0 if the fault lets it succeed.
int ErrorOf(const Fault& fault, bool isWrite) {
    switch (fault.kind) {
    case Fault::Kind::IO_ERROR:
        return EIO;
    case Fault::Kind::NO_SPACE:
        return isWrite ? ENOSPC : 0;
    case Fault::Kind::NO_ACCESS:
        return EACCES;
    case Fault::Kind::MISSING:
        return ENODEV;
    case Fault::Kind::SLOW:
        break;
    }
    return 0;
}

} // namespace

ValueFiles::ValueFiles(BoardState& boardState, Clock boardClock, const std::set<std::filesystem::path>& without)
    : state(boardState), clock(std::move(boardClock)), tree(state), faults(state.Count()) {
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (without.count(std::filesystem::path(state.Path(signal)).lexically_normal()) != 0)
            faults[signal] = Fault{Fault::Kind::MISSING};
}

bool ValueFiles::IsMissing(Number file) const {
    const Fault* fault = FaultOfFile(file);
    return fault != nullptr && fault->kind == Fault::Kind::MISSING;
}

bool ValueFiles::IsWritable(Number file) const {
    const std::vector<std::size_t>& signals = tree.Find(file)->signals;
    return std::any_of(signals.begin(), signals.end(), [this](std::size_t signal) { return !state.IsInput(signal); });
}

int ValueFiles::OpenError(Number file, bool forWriting) const {
    if (IsMissing(file))
        return ENOENT;
    const Fault* fault = FaultOfFile(file);
    const bool closed = fault != nullptr && fault->kind == Fault::Kind::NO_ACCESS;
    return closed || (forWriting && !IsWritable(file)) ? EACCES : 0;
}

ValueFiles::Ticket ValueFiles::Write(Number file, std::string_view text, Answer answer) {
    return Take({file, std::string(text.substr(0, PAGE)), std::move(answer)});
}

void ValueFiles::Interrupt(Ticket ticket) {
    if (const auto request = FindLate(ticket); request != late.end())
        request->due = INTERRUPTED;
}

void ValueFiles::Drop(Ticket ticket) {
    if (const auto request = FindLate(ticket); request != late.end())
        late.erase(request);
}

std::uint64_t ValueFiles::LatestEvent(Number file) const {
    const auto found = events.find(file);
    return found == events.end() ? 1 : found->second + 1;
}

void ValueFiles::DriveInput(std::size_t signal, bool level) {
    const bool changes = state.Level(signal) != level;
    state.Set(signal, level, clock());
    const auto file = tree.FileOf(signal);
    if (!changes || !file)
        return;
    ++events[*file];
    tellEvent(*file);
}

void ValueFiles::SetFault(std::size_t signal, const std::optional<Fault>& fault) {
    if (!tree.FileOf(signal))
        throw BoardError(state.Name(signal) + " has no value file on this board that could be broken");
    if (fault && fault->kind == Fault::Kind::NO_SPACE && state.IsInput(signal))
        throw BoardError(state.Name(signal) + " is an input; only writes find a device full");
    faults[signal] = fault;
    state.Tell(&BoardObserver::OnFault, signal, clock());
}

std::optional<BoardTime> ValueFiles::Due() const {
    if (late.empty())
        return std::nullopt;
    return std::ranges::min_element(late, {}, &Request::due)->due;
}

void ValueFiles::Run(BoardTime now) {
    // Moved to a separate list first, since an answer may add or remove requests.
    std::list<Request> due;
    for (auto request = late.begin(); request != late.end();) {
        const auto next = std::next(request);
        if (now >= request->due)
            due.splice(due.end(), late, request);
        request = next;
    }
    for (const Request& request : due) {
        if (request.due == INTERRUPTED)
            request.answer(EINTR, false);
        else
            Carry(request);
    }
}

ValueFiles::Ticket ValueFiles::Take(Request request) {
    tellRequest();
    const Fault* fault = FaultOfFile(request.file);
    if (fault == nullptr || fault->kind != Fault::Kind::SLOW) {
        Carry(request);
        return 0;
    }
    request.due = clock() + fault->delay;
    request.ticket = nextTicket++;
    late.push_back(std::move(request));
    return late.back().ticket;
}

void ValueFiles::Carry(const Request& request) {
    const Fault* fault = FaultOfFile(request.file);
    int error = fault != nullptr ? ErrorOf(*fault, request.text.has_value()) : 0;
    if (error == 0 && request.text)
        error = CarryWrite(request);
    request.answer(error, state.Level(tree.Find(request.file)->signals.front()));
}

int ValueFiles::CarryWrite(const Request& request) {
    const std::vector<std::size_t>& signals = tree.Find(request.file)->signals;
    const bool isLine = signals.front() < state.Model().Lines().size();
    bool level = false;
    const int error = isLine ? ParseLineValue(*request.text, level) : ParseLedValue(*request.text, level);
    if (error != 0)
        return error;
    for (const std::size_t signal : signals)
        state.Write(signal, level, clock());
    return 0;
}

const Fault* ValueFiles::FaultOfFile(Number file) const {
    for (const std::size_t signal : tree.Find(file)->signals)
        if (faults[signal])
            return &*faults[signal];
    return nullptr;
}

std::list<ValueFiles::Request>::iterator ValueFiles::FindLate(Ticket ticket) {
    return std::ranges::find(late, ticket, &Request::ticket);
}

} // namespace VelrixBoard
