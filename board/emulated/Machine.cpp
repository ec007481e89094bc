// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/Machine.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"
#include "board/base/RunDirectory.h"
#include "board/emulated/AgentPort.h"
#include "board/emulated/GdbClient.h"
#include "board/emulated/GpioTrace.h"
#include "board/emulated/MachineClock.h"
#include "board/emulated/MachineConsole.h"
#include "board/emulated/QmpClient.h"
#include "board/emulated/ReadFile.h"
#include "board/scenario/Printable.h"

namespace VelrixBoard {

const char* const DEFAULT_IMAGE = "build/emulated-board";

namespace {

constexpr const char* EMULATOR = "qemu-system-arm";

// Booting takes about eight seconds, and several times that on a machine that is busy with other things.
constexpr std::chrono::seconds BOOT_LIMIT{180};

// Observers are told the time at least so often, even while nothing happens.
constexpr std::chrono::milliseconds OBSERVER_INTERVAL{100};

// A shell's exit code for a signal, less its number.
constexpr int SIGNALLED = 128;

// The machine's own answers take milliseconds. Not those of its programs.
constexpr std::chrono::seconds ANSWER_LIMIT{5};

// The emulator's answers take microseconds, and no host is so busy that they take longer than this.
constexpr std::chrono::seconds EMULATOR_LIMIT{60};

// A program that was killed ends as soon as it comes to its turn.
constexpr std::chrono::seconds KILL_LIMIT{20};

// More than a connection holds, so that one turn takes all that came before it; but a program that prints as fast as we
// read does not hold us in a loop.
constexpr std::size_t READ_SIZE = 16384;
constexpr std::size_t READS_PER_TURN = MachineProgram::MOST_AT_END / READ_SIZE;

// A line that the agent's shell reads in one go, and the terminal driver holds.
constexpr std::size_t MAX_COMMAND = 3500;

std::chrono::microseconds HostTime() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
}

// A connected pair: ours first, the emulator's second.
std::array<FileDescriptor, 2> SocketPair() {
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        ThrowSystemError("socketpair");
    ::fcntl(pair[0], F_SETFL, O_NONBLOCK);
    return {FileDescriptor(pair[0]), FileDescriptor(pair[1])};
}

// The end of a log, for an error message.
std::string Tail(const std::filesystem::path& file) {
    constexpr std::size_t LENGTH = 800;
    const std::string text = std::filesystem::exists(file) ? ReadFile(file) : "";
    return text.size() <= LENGTH ? text : text.substr(text.size() - LENGTH);
}

// What has come on a descriptor that does not block. False at the end of the connection.
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

// A word as the shell reads it back unchanged.
std::string Quote(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) {
        if (c == '\'')
            quoted += "'\\''";
        else if (c == '\n')
            quoted += "'$'\\n''";
        else
            quoted += c;
    }
    return quoted + "'";
}

std::string SignalWord(int number) {
    switch (number) {
    case SIGHUP:
        return "HUP";
    case SIGINT:
        return "INT";
    case SIGQUIT:
        return "QUIT";
    case SIGUSR1:
        return "USR1";
    case SIGUSR2:
        return "USR2";
    default:
        return "TERM";
    }
}

} // namespace

// The emulator's process with its connections, and the loop that serves them.
class Machine::Process final {
public:
    Process(const std::filesystem::path& image, const CpioArchive& files);
    ~Process();

    void AwaitReady();
    MachineResult Run(const MachineProgram& program, BoardState& state, const GpioLines& lines);
    void Signal(const std::string& name);
    void DriveInput(std::size_t signal, bool level);
    BoardTime Now() const { return running ? running->Now() : BoardTime(0); }

private:
    // What is known of the program that runs.
    struct Running {
        const MachineProgram& program;
        BoardState* state;
        const GpioLines* lines;
        const MachineClock& clock;
        std::chrono::microseconds start; // by the machine's clock
        std::optional<MachineResult> result{};
        int answersDue = 0;                                     // to signals
        std::optional<std::chrono::microseconds> answerLimit{}; // for them
        std::optional<std::chrono::microseconds> killLimit{};   // for the end of a program that was killed

        BoardTime At(std::chrono::microseconds hostTime) const { return clock.At(hostTime) - start; }
        BoardTime Now() const { return At(HostTime()); }
        void End(MachineResult::Why why, int code) { result = {why, code, Now()}; }
    };

    void Start(const std::vector<std::string>& arguments, const std::vector<int>& kept);
    void Play(Running& program);
    int RunQuietly(std::vector<std::string> words);

    // Waits for something to come, at most until then, and deals with it.
    void Turn(std::chrono::microseconds until);
    void ReadTrace();
    void ReadTraceLine(std::string_view line);
    void WatchWrites(const std::string& text);
    void GoOn();
    void ReadAgent();
    void Obey(const AgentPort::Message& message);
    void ReadConsole();
    void ReadOutput();
    void EndOnRequest();
    void PassOnSignals();
    void ReadEvents();
    void Command(const std::string& line);
    void CheckLimits();
    [[noreturn]] void Fail(const std::string& what);

    RunDirectory directory = RunDirectory::Private();
    pid_t pid = -1;
    FileDescriptor output;
    FileDescriptor errors;
    FileDescriptor agent;
    FileDescriptor consoleOutput;
    FileDescriptor trace;
    std::optional<QmpClient> qmp;
    std::optional<GdbClient> debugger;
    MachineClock clock;
    AgentPort agentPort;
    MachineConsole console;
    std::string traceText;
    std::string addresses; // of the GPIO controller's data register in this life of the machine; empty: it is not up
    bool halted = false;
    bool prepared = false; // in this life of the machine
    Running* running = nullptr;
};

Machine::Process::Process(const std::filesystem::path& image, const CpioArchive& files) {
    for (const char* name : {"kernel", "board.dtb", "root.cpio", "lines.txt"})
        if (!std::filesystem::exists(image / name))
            throw BoardError("the emulated board's " + (image / name).native() +
                             " is missing; scripts/emulated-board-image makes it from Debian's kernel package");

    // The kernel looks for the next archive at a multiple of four bytes.
    std::string root = ReadFile(image / "root.cpio");
    root.resize((root.size() + 3) / 4 * 4, '\0');
    root += files.Finish();
    const std::filesystem::path rootFile = directory.Path() / "root";
    std::ofstream stream(rootFile, std::ios::binary);
    stream << root;
    stream.close();
    if (!stream)
        ThrowSystemError("cannot write " + rootFile.native());

    auto outputs = SocketPair();
    auto errorOutputs = SocketPair();
    auto agents = SocketPair();
    auto consoles = SocketPair();
    auto controls = SocketPair();
    auto debuggers = SocketPair();
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        ThrowSystemError("pipe");
    trace = FileDescriptor(pipe[0]);
    const FileDescriptor traceEnd(pipe[1]);
    ::fcntl(trace.Get(), F_SETFL, O_NONBLOCK);

    std::vector<std::string> arguments = {
        EMULATOR, "-M", "ast2600-evb", "-m", "1G", "-nodefaults", "-nic", "none", "-display", "none",
        // Names the time of every write; without it the trace has none.
        "-msg", "timestamp=on", "-kernel", (image / "kernel").native(), "-dtb", (image / "board.dtb").native(),
        "-initrd", rootFile.native(),
        // A kernel that panics restarts instead of standing there, which is noticed;
        // and testing its ciphers would take it half of its time to boot.
        "-append", "console=ttyS4,115200n8 quiet panic=-1 cryptomgr.notests", "-trace", "runstate_set", "-trace",
        "aspeed_gpio_write,file=/proc/self/fd/" + std::to_string(traceEnd.Get())};
    // The console is the first of the controller's serial ports; the others follow in their order.
    int number = 0;
    for (const int descriptor : {consoles[1].Get(), outputs[1].Get(), errorOutputs[1].Get(), agents[1].Get()}) {
        const std::string name = "port" + std::to_string(number++);
        arguments.insert(arguments.end(), {"-chardev", "socket,id=" + name + ",fd=" + std::to_string(descriptor),
                                           "-serial", "chardev:" + name});
    }
    arguments.insert(arguments.end(),
                     {"-chardev", "socket,id=qmp,fd=" + std::to_string(controls[1].Get()), "-mon",
                      "chardev=qmp,mode=control", "-chardev", "socket,id=gdb,fd=" + std::to_string(debuggers[1].Get()),
                      "-gdb", "chardev:gdb"});
    Start(arguments, {consoles[1].Get(), outputs[1].Get(), errorOutputs[1].Get(), agents[1].Get(), controls[1].Get(),
                      debuggers[1].Get(), traceEnd.Get()});

    output = std::move(outputs[0]);
    errors = std::move(errorOutputs[0]);
    agent = std::move(agents[0]);
    consoleOutput = std::move(consoles[0]);
    qmp.emplace(std::move(controls[0]));
    debugger.emplace(std::move(debuggers[0]));
}

Machine::Process::~Process() {
    if (pid > 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
}

void Machine::Process::Start(const std::vector<std::string>& arguments, const std::vector<int>& kept) {
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    const FileDescriptor log(
        ::open((directory.Path() / "emulator").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    const FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    int pipe[2];
    if (!log || !nothing || ::pipe2(pipe, O_CLOEXEC) != 0)
        ThrowSystemError("cannot start the emulator");
    const FileDescriptor verdict(pipe[0]);
    FileDescriptor verdictEnd(pipe[1]);

    pid = ::fork();
    if (pid < 0)
        ThrowSystemError("fork");
    if (pid == 0) {
        // The emulator goes when we go, and a Ctrl-C is for the program inside.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::setpgid(0, 0);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::dup2(nothing.Get(), STDIN_FILENO);
        ::dup2(log.Get(), STDOUT_FILENO);
        ::dup2(log.Get(), STDERR_FILENO);
        for (const int descriptor : kept)
            ::fcntl(descriptor, F_SETFD, 0);
        ::execvp(pointers[0], pointers.data());
        const int error = errno;
        [[maybe_unused]] const ssize_t written = ::write(verdictEnd.Get(), &error, sizeof error);
        ::_exit(127);
    }
    verdictEnd.Close();
    int error = 0;
    if (::read(verdict.Get(), &error, sizeof error) == sizeof error)
        throw BoardError(std::string(EMULATOR) + " cannot be started (" + std::strerror(error) +
                         "); Debian has it in the package qemu-system-arm, which scripts/setup installs");
}

void Machine::Process::Fail(const std::string& what) {
    // What still runs in there would meddle with whatever came next.
    ::kill(pid, SIGKILL);
    ReadWaiting(consoleOutput.Get(), [this](std::string_view text) { console.Add(text); });
    throw BoardError(what + "\n--- the emulator:\n" + Tail(directory.Path() / "emulator") + "\n--- the console:\n" +
                     console.Tail());
}

void Machine::Process::Command(const std::string& line) {
    const std::string text = line + "\n";
    if (text.size() > MAX_COMMAND)
        throw BoardError("the command is too long for the emulated board: " + std::to_string(text.size()) +
                         " characters, at most " + std::to_string(MAX_COMMAND) +
                         "; put it into a script, and --copy that");
    if (::send(agent.Get(), text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
        Fail("the emulated board takes no commands");
}

void Machine::Process::Signal(const std::string& name) {
    Command("signal " + name);
    ++running->answersDue;
    running->answerLimit = std::min(running->answerLimit.value_or(std::chrono::microseconds::max()),
                                    HostTime() + std::chrono::microseconds(ANSWER_LIMIT));
    if (name == "KILL")
        running->killLimit = HostTime() + KILL_LIMIT;
}

void Machine::Process::DriveInput(std::size_t signal, bool level) {
    const auto line = running->lines->Line(signal);
    if (!line)
        return;
    qmp->SetLine(*line, level);
    running->state->Set(signal, level, running->Now());
}

void Machine::Process::ReadTrace() {
    ReadWaiting(trace.Get(), [this](std::string_view text) { traceText += text; });
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = traceText.find('\n', begin)) != std::string::npos; begin = end + 1)
        ReadTraceLine(std::string_view(traceText).substr(begin, end - begin));
    traceText.erase(0, begin);
}

void Machine::Process::ReadTraceLine(std::string_view line) {
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
    // Writes of inputs' bits mean nothing: what an input shows comes from outside.
    for (std::size_t i = 0; i < running->state->Count(); ++i)
        if (const auto number = running->lines->Line(i); number && !running->state->IsInput(i))
            running->state->Set(i, (write->value >> *number & 1) != 0, running->At(write->time));
}

// Whatever is connected to the lines answers a write before the program goes on, as if it did so by electricity: the
// machine stands still from the write until GoOn. Addresses are those at which the kernel has the data register.
void Machine::Process::WatchWrites(const std::string& text) {
    std::istringstream words(text);
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t address = 0; words >> std::hex >> address;)
        numbers.push_back(address);
    if (numbers.empty() || !words.eof())
        Fail("the emulated board does not say where its GPIO lines are: " + Printable(text));
    debugger->Watch(numbers);
}

void Machine::Process::GoOn() {
    const auto limit = HostTime() + EMULATOR_LIMIT;
    while (qmp->Pending() > 0) {
        pollfd descriptor = {qmp->Descriptor(), POLLIN, 0};
        if (::poll(&descriptor, 1, 1000) < 0 && errno != EINTR)
            ThrowSystemError("poll");
        if (HostTime() >= limit)
            Fail("the emulator does not answer");
        ReadEvents();
        if (qmp->Pending() > 0 && (descriptor.revents & POLLHUP) != 0)
            Fail("the emulator ended");
    }
    debugger->Continue();
}

void Machine::Process::ReadOutput() {
    ReadWaiting(output.Get(), [this](std::string_view text) {
        if (running)
            running->program.output(text);
    });
    ReadWaiting(errors.Get(), [this](std::string_view text) {
        if (running)
            running->program.errors(text);
    });
}

void Machine::Process::ReadAgent() {
    const bool goesOn = ReadWaiting(agent.Get(), [this](std::string_view text) {
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

void Machine::Process::Obey(const AgentPort::Message& message) {
    using Kind = AgentPort::Message::Kind;
    switch (message.kind) {
    case Kind::FAILED:
        Fail("the emulated board could not be prepared");
    case Kind::READY:
        // A second time in a life: of an agent that somebody killed.
        if (addresses.empty())
            WatchWrites(message.addresses);
        else if (message.addresses != addresses)
            Fail("the emulated board says anew where its GPIO lines are: " + Printable(message.addresses));
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
        // Everything that the program did came before; what of it waits in the other connections belongs to it.
        running->End(MachineResult::Why::EXITED, message.code);
        ReadTrace();
        ReadOutput();
        break;
    }
}

void Machine::Process::ReadConsole() {
    ReadWaiting(consoleOutput.Get(), [this](std::string_view text) { console.Add(text); });
    const MachineConsole::End end = console.HowItEnded();
    if (end == MachineConsole::End::PANIC)
        Fail("the emulated board's kernel gave up: " + Printable(console.PanicLine()));
    if (end == MachineConsole::End::NONE || halted)
        return;
    halted = true;
    ReadTrace();
    ReadOutput();
    if (running && !running->result)
        running->End(MachineResult::Why::HALTED, 0);
}

void Machine::Process::ReadEvents() {
    for (const std::string& event : qmp->Dispatch()) {
        if (event != "RESET")
            continue;
        ReadConsole();
        ReadTrace();
        ReadOutput();
        debugger->Watch({}); // the addresses mean something else in the next life
        addresses.clear();
        prepared = false;
        agentPort.Restart();
        console.Restart();
        if (running && !running->result)
            running->End(MachineResult::Why::RESTARTED, 0);
    }
}

void Machine::Process::EndOnRequest() {
    StopSignals& stop = *running->program.stop;
    switch (stop.Take()) {
    case StopSignals::Request::END:
        Signal(SignalWord(stop.Signal()));
        break;
    case StopSignals::Request::KILL:
        running->End(MachineResult::Why::STOPPED, SIGNALLED + stop.Signal());
        break;
    case StopSignals::Request::NONE:
        break;
    }
}

void Machine::Process::PassOnSignals() {
    signalfd_siginfo signal;
    if (::read(running->program.signals, &signal, sizeof signal) == sizeof signal)
        Signal(SignalWord(static_cast<int>(signal.ssi_signo)));
}

// Of what must have come by now while a program runs.
void Machine::Process::CheckLimits() {
    const auto now = HostTime();
    if (running->result)
        return;
    // Those to stop have their own limit.
    const bool isToStop = running->program.stop && running->program.stop->Signal() != 0;
    if (!isToStop && now >= running->answerLimit.value_or(now + EMULATOR_LIMIT)) {
        Fail("the emulated board does not answer a signal for its program");
    } else if (now >= running->killLimit.value_or(now + EMULATOR_LIMIT)) {
        Fail(running->program.words[0] + " did not end when it was killed");
    }
}

void Machine::Process::Turn(std::chrono::microseconds until) {
    if (running && running->state)
        until = std::min(until, HostTime() + OBSERVER_INTERVAL);
    const std::vector<ILoopPart*> parts = running ? running->program.parts : std::vector<ILoopPart*>();
    for (const ILoopPart* part : parts)
        if (const auto due = part->Due())
            until = std::min(until, HostTime() + std::chrono::ceil<std::chrono::microseconds>(*due - Now()));
    const auto left = std::max(until - HostTime(), std::chrono::microseconds(0));
    const timespec wait = {static_cast<time_t>(left.count() / 1'000'000),
                           static_cast<long>(left.count() % 1'000'000 * 1000)};

    const bool takesOutput = !running || running->program.takesOutput();
    StopSignals* const stop = running ? running->program.stop : nullptr;
    // The trace before the agent: what the program did comes before its end.
    std::vector<pollfd> descriptors = {
        {trace.Get(), POLLIN, 0},
        {takesOutput ? output.Get() : -1, POLLIN, 0},
        {takesOutput ? errors.Get() : -1, POLLIN, 0},
        {qmp->Descriptor(), POLLIN, 0},
        {agent.Get(), POLLIN, 0},
        {stop ? stop->Descriptor() : -1, POLLIN, 0},
        {debugger->Descriptor(), POLLIN, 0},
        {consoleOutput.Get(), POLLIN, 0},
        // The kernel keeps one of each kind meanwhile; the agent would have to keep all.
        {running && running->answersDue == 0 ? running->program.signals : -1, POLLIN, 0}};
    for (const ILoopPart* part : parts)
        descriptors.push_back({part->Descriptor(), static_cast<short>(part->AwaitsRoom() ? POLLOUT : POLLIN), 0});
    if (::ppoll(descriptors.data(), descriptors.size(), &wait, nullptr) < 0 && errno != EINTR)
        ThrowSystemError("ppoll");
    // That the emulator is gone is for the agent's connection to notice, which tells more.
    if ((descriptors[6].revents & (POLLIN | POLLHUP)) == POLLIN)
        debugger->FinishWrite();
    ReadTrace();
    if (descriptors[1].revents || descriptors[2].revents)
        ReadOutput();
    if (descriptors[7].revents)
        ReadConsole();
    if (descriptors[3].revents)
        ReadEvents();
    if (descriptors[4].revents)
        ReadAgent();
    if (descriptors[8].revents && !running->result)
        PassOnSignals();
    if (stop && !running->result)
        EndOnRequest();
    if (running && running->state) {
        for (ILoopPart* part : parts)
            if (!running->result)
                part->Run(running->Now());
        running->state->Tell(&IBoardObserver::OnSettled, running->Now());
    }
    if (debugger->Stands())
        GoOn();
}

void Machine::Process::AwaitReady() {
    const auto limit = HostTime() + BOOT_LIMIT;
    while (addresses.empty() || halted) {
        if (halted)
            Fail("the emulated board has halted; it runs nothing more");
        if (HostTime() >= limit)
            Fail("the emulated board did not come up within " + std::to_string(BOOT_LIMIT.count()) + " s");
        Turn(limit);
    }
}

void Machine::Process::Play(Running& program) {
    std::string line = "run " + agentPort.NewWord();
    for (const std::string& word : program.program.words)
        line += " " + Quote(word);
    const auto limit =
        program.program.limit ? HostTime() + *program.program.limit : std::chrono::microseconds::max() / 2;
    running = &program;
    try {
        Command(line);
        while (!program.result) {
            if (HostTime() >= limit)
                Fail(program.program.words[0] + " did not end within its time");
            Turn(limit);
            CheckLimits();
        }
    } catch (...) {
        running = nullptr;
        throw;
    }
    running = nullptr;
}

int Machine::Process::RunQuietly(std::vector<std::string> words) {
    MachineProgram program;
    program.words = std::move(words);
    program.limit = BOOT_LIMIT;
    Running quiet{program, nullptr, nullptr, clock, clock.At(HostTime())};
    Play(quiet);
    return quiet.result->exitCode;
}

MachineResult Machine::Process::Run(const MachineProgram& program, BoardState& state, const GpioLines& lines) {
    AwaitReady();
    for (std::size_t i = 0; i < state.Count(); ++i)
        if (const auto line = lines.Line(i); line && state.IsInput(i))
            qmp->SetLine(*line, state.Level(i));
    const auto limit = HostTime() + EMULATOR_LIMIT;
    while (qmp->Pending() > 0) {
        if (HostTime() >= limit)
            Fail("the emulator does not answer");
        Turn(limit);
    }
    if (!prepared) {
        // The machine has no clock of its own that would know the time.
        const auto now = std::chrono::duration_cast<std::chrono::seconds>(HostTime()).count();
        if (RunQuietly({"date", "-u", "-s", "@" + std::to_string(now)}) != 0)
            Fail("the emulated board's clock cannot be set");
        prepared = true;
    }
    if (RunQuietly({"/etc/reset-lines"}) != 0)
        Fail("the emulated board's lines cannot be reset");

    Running observed{program, &state, &lines, clock, clock.At(HostTime())};
    state.Tell(&IBoardObserver::OnProgramStarted, BoardTime(0));
    Play(observed);
    const int code = observed.result->exitCode;
    const bool restarted = observed.result->why == MachineResult::Why::RESTARTED;
    if (restarted || observed.result->why == MachineResult::Why::HALTED)
        state.Tell(&IBoardObserver::OnReboot, restarted ? "the machine restarted" : "the machine halted",
                   observed.result->end);
    else
        state.Tell(&IBoardObserver::OnProgramEnded, code > SIGNALLED ? code - SIGNALLED : W_EXITCODE(code, 0),
                   observed.result->end);
    return *observed.result;
}

Machine::Machine(const std::filesystem::path& image, const CpioArchive& files)
    : process(std::make_unique<Process>(image, files)) {}

Machine::~Machine() = default;

void Machine::AwaitReady() {
    process->AwaitReady();
}

MachineResult Machine::Run(const MachineProgram& program, BoardState& state, const GpioLines& lines) {
    return process->Run(program, state, lines);
}

void Machine::Signal(const std::string& name) {
    process->Signal(name);
}

void Machine::DriveInput(std::size_t signal, bool level) {
    process->DriveInput(signal, level);
}

BoardTime Machine::Now() const {
    return process->Now();
}

} // namespace VelrixBoard
