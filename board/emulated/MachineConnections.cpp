// SPDX-License-Identifier: Apache-2.0
// One file: whatever a connection reports changes the one state of the machine and its program.
#include "board/emulated/MachineConnections.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>
#include <utility>

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/emulated/GpioTrace.h"
#include "board/scenario/Printable.h"

namespace VelrixBoard {

namespace {

// Interval of OnSettled while nothing happens.
constexpr std::chrono::milliseconds OBSERVER_INTERVAL{100};

// The agent answers within milliseconds.
constexpr std::chrono::seconds ANSWER_LIMIT{5};

// The emulator answers within microseconds; the timeout is for a busy host.
constexpr std::chrono::seconds EMULATOR_LIMIT{60};

// A killed program ends as soon as it is scheduled.
constexpr std::chrono::seconds KILL_LIMIT{20};

// More than a connection buffers, so that one turn takes everything sent before; but a limit, so that a fast program
// does not keep us in this loop.
constexpr std::size_t READ_SIZE = 16384;
constexpr std::size_t READS_PER_TURN = MachineProgram::MOST_AT_END / READ_SIZE;

// The agent's terminal driver buffers 4095 bytes of a line.
constexpr std::size_t MAX_COMMAND = 3500;

// Reads a non-blocking descriptor. False at the end of the connection.
template <class Take>
bool ReadWaiting(int descriptor, const Take& take) {
    char buffer[READ_SIZE];
    for (std::size_t reads = 0; reads < READS_PER_TURN; ++reads) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count <= 0)
            return count != 0;
        take(std::string_view(buffer, static_cast<std::size_t>(count)));
    }
    return true;
}

} // namespace

std::chrono::microseconds HostTime() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
}

MachineConnections::MachineConnections(const std::filesystem::path& image, const CpioArchive& files)
    : emulator(image, files, ends), qmp(std::move(ends.control)), debugger(std::move(ends.debugger)) {
    // The trace before the agent: the program's writes come before its end.
    for (FunctionPart* part : {&writePart, &tracePart, &outputPart, &errorsPart, &consolePart, &eventPart, &agentPart})
        loop.Add(*part);
}

void MachineConnections::Begin(RunningProgram& program) {
    running = &program;
    loop.Add(signalPart);
    loop.Add(stopPart);
    for (ILoopPart* part : program.program.parts)
        loop.Add(*part);
    loop.Add(settlePart);
}

void MachineConnections::EndProgram(MachineResult::Why why, int code) {
    if (!running || running->result)
        return;
    running->result = {why, code, Now()};
    loop.Remove(signalPart);
    loop.Remove(stopPart);
    for (const ILoopPart* part : running->program.parts)
        loop.Remove(*part);
}

void MachineConnections::Finish() {
    // In case of an exception.
    EndProgram(MachineResult::Why::STOPPED, 0);
    loop.Remove(settlePart);
    running = nullptr;
}

void MachineConnections::Turn(std::chrono::microseconds until) {
    auto longest = std::max(until - HostTime(), std::chrono::microseconds(0));
    if (running && running->state)
        longest = std::min<std::chrono::microseconds>(longest, OBSERVER_INTERVAL);
    loop.Round(longest);
    if (debugger.IsStopped())
        GoOn();
}

void MachineConnections::AwaitEmulator() {
    const auto limit = HostTime() + EMULATOR_LIMIT;
    while (qmp.Pending() > 0) {
        if (HostTime() >= limit)
            Fail("the emulator does not answer");
        Turn(limit);
    }
}

// Back pressure: not reading blocks the program.
int MachineConnections::IfOutputIsTaken(const FileDescriptor& stream) const {
    return !running || running->program.takesOutput() ? stream.Get() : -1;
}

void MachineConnections::Fail(const std::string& what) {
    // A program that still runs would disturb the next one.
    emulator.Kill();
    ReadWaiting(ends.console.Get(), [this](std::string_view text) { console.Add(text); });
    throw BoardError(what + "\n--- the emulator:\n" + emulator.LastWords() + "\n--- the console:\n" + console.Tail());
}

void MachineConnections::Command(const std::string& line) {
    const std::string text = line + "\n";
    if (text.size() > MAX_COMMAND)
        throw BoardError("the command is too long for the emulated board: " + std::to_string(text.size()) +
                         " characters, at most " + std::to_string(MAX_COMMAND) +
                         "; put it into a script, and --copy that");
    if (::send(ends.agent.Get(), text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
        Fail("the emulated board takes no commands");
}

void MachineConnections::Signal(const std::string& name) {
    Command("signal " + name);
    ++running->answersDue;
    running->answerLimit = std::min(running->answerLimit.value_or(std::chrono::microseconds::max()),
                                    HostTime() + std::chrono::microseconds(ANSWER_LIMIT));
    if (name == "KILL")
        running->killLimit = HostTime() + KILL_LIMIT;
}

// If the emulator is gone, ReadAgent reports it with its output.
void MachineConnections::FinishWrite() {
    pollfd end = {debugger.Descriptor(), 0, 0};
    if (::poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0)
        return;
    debugger.FinishWrite();
    ReadTrace(); // has the write now
}

void MachineConnections::ReadTrace() {
    ReadWaiting(ends.trace.Get(), [this](std::string_view text) { traceText += text; });
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = traceText.find('\n', begin)) != std::string::npos; begin = end + 1)
        ReadTraceLine(std::string_view(traceText).substr(begin, end - begin));
    traceText.erase(0, begin);
}

void MachineConnections::ReadTraceLine(std::string_view line) {
    if (const auto transition = ParseTransition(line)) {
        if (transition->runs)
            clock.Run(transition->time);
        else
            clock.Stop(transition->time);
        return;
    }
    const auto write = ParseGpioWrite(line);
    if (!write || write->offset != GpioWrite::DATA || !running || !running->state)
        return;
    // Ignores the bits of inputs, which are driven from outside.
    for (std::size_t i = 0; i < running->state->Count(); ++i)
        if (const auto number = running->lines->Line(i); number && !running->state->IsInput(i))
            running->state->Set(i, (write->value >> *number & 1) != 0, At(write->time));
}

// Stops the machine at each write until GoOn, so that the parts react to a write before the program continues. The
// addresses are the kernel's of the data register.
void MachineConnections::WatchWrites(const std::string& text) {
    std::istringstream words(text);
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t address = 0; words >> std::hex >> address;)
        numbers.push_back(address);
    if (numbers.empty() || !words.eof())
        Fail("the emulated board does not say where its GPIO lines are: " + Printable(text));
    debugger.Watch(numbers);
}

void MachineConnections::GoOn() {
    const auto limit = HostTime() + EMULATOR_LIMIT;
    while (qmp.Pending() > 0) {
        pollfd descriptor = {qmp.Descriptor(), POLLIN, 0};
        if (::poll(&descriptor, 1, 1000) < 0 && errno != EINTR)
            ThrowSystemError("poll");
        if (HostTime() >= limit)
            Fail("the emulator does not answer");
        ReadEvents();
        if (qmp.Pending() > 0 && (descriptor.revents & POLLHUP) != 0)
            Fail("the emulator ended");
    }
    debugger.Continue();
}

void MachineConnections::ReadOutput() {
    ReadWaiting(ends.output.Get(), [this](std::string_view text) {
        if (running)
            running->program.output(text);
    });
    ReadWaiting(ends.errors.Get(), [this](std::string_view text) {
        if (running)
            running->program.errors(text);
    });
}

void MachineConnections::ReadAgent() {
    const bool goesOn = ReadWaiting(ends.agent.Get(), [this](std::string_view text) {
        std::vector<AgentPort::Message> messages;
        try {
            messages = agentPort.Take(text);
        } catch (const BoardError& error) {
            Fail(error.what());
        }
        for (const AgentPort::Message& message : messages)
            Obey(message);
    });
    if (!goesOn)
        Fail("the emulator ended");
}

void MachineConnections::Obey(const AgentPort::Message& message) {
    using Kind = AgentPort::Message::Kind;
    switch (message.kind) {
    case Kind::FAILED:
        Fail("the emulated board could not be prepared");
    case Kind::READY:
        // The agent sends it again if it was killed and restarted.
        if (addresses.empty())
            WatchWrites(message.addresses);
        else if (message.addresses != addresses)
            Fail("the emulated board reports other addresses of its GPIO lines: " + Printable(message.addresses));
        addresses = message.addresses;
        break;
    case Kind::SIGNALLED:
        if (!running || running->answersDue == 0 || --running->answersDue > 0)
            break;
        running->answerLimit.reset();
        if (running->program.stop)
            running->program.stop->Answered();
        break;
    case Kind::EXIT:
        if (!running || running->result)
            break;
        // The other connections may still have output of the program.
        EndProgram(MachineResult::Why::EXITED, message.code);
        ReadTrace();
        ReadOutput();
        break;
    }
}

void MachineConnections::ReadConsole() {
    ReadWaiting(ends.console.Get(), [this](std::string_view text) { console.Add(text); });
    const MachineConsole::End end = console.HowItEnded();
    if (end == MachineConsole::End::PANIC)
        Fail("the emulated board's kernel gave up: " + Printable(console.PanicLine()));
    if (end == MachineConsole::End::NONE || halted)
        return;
    halted = true;
    ReadTrace();
    ReadOutput();
    EndProgram(MachineResult::Why::HALTED, 0);
}

void MachineConnections::ReadEvents() {
    for (const std::string& event : qmp.Dispatch()) {
        if (event != "RESET")
            continue;
        ReadConsole();
        ReadTrace();
        ReadOutput();
        debugger.Watch({}); // the addresses change with the restart
        addresses.clear();
        prepared = false;
        agentPort.Restart();
        console.Restart();
        EndProgram(MachineResult::Why::RESTARTED, 0);
    }
}

void MachineConnections::EndOnRequest() {
    StopSignals& stop = *running->program.stop;
    const StopSignals::Request request = stop.Take();
    if (request == StopSignals::Request::END)
        Signal(::sigabbrev_np(stop.Signal()));
    else if (request == StopSignals::Request::KILL)
        EndProgram(MachineResult::Why::STOPPED, MachineResult::SIGNALLED + stop.Signal());
}

void MachineConnections::PassOnSignal() {
    signalfd_siginfo signal;
    if (::read(running->program.signals, &signal, sizeof signal) == sizeof signal)
        Signal(::sigabbrev_np(static_cast<int>(signal.ssi_signo)));
}

void MachineConnections::CheckLimits() {
    const auto now = HostTime();
    if (running->result)
        return;
    // StopSignals has its own timeout.
    const bool isToStop = running->program.stop && running->program.stop->Signal() != 0;
    if (!isToStop && now >= running->answerLimit.value_or(now + EMULATOR_LIMIT))
        Fail("the emulated board does not answer a signal for its program");
    if (now >= running->killLimit.value_or(now + EMULATOR_LIMIT))
        Fail(running->program.words[0] + " did not end when it was killed");
}

} // namespace VelrixBoard
