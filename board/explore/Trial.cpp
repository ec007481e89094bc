// SPDX-License-Identifier: Apache-2.0
#include "board/explore/Trial.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/RunDirectory.h"
#include "board/explore/Behaviour.h"
#include "board/explore/TrialReport.h"
#include "board/timeline/VcdReader.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

using std::chrono::milliseconds;

// Of a program's output and logs that are kept and compared.
constexpr std::size_t MOST_TEXT = std::size_t{256} * 1024;
constexpr rlim_t LARGEST_FILE = rlim_t{64} * 1024 * 1024;

// The signals of a program that has a mistake. Their step fails a run whatever else judges it.
constexpr const char* CRASHES[] = {"SEGV", "ABRT", "BUS", "FPE", "ILL", "TRAP", "SYS"};

// How long a program has to obey SIGTERM at the end of a run.
constexpr ScenarioTime LONGEST_END = std::chrono::seconds(5);

// A file's first bytes, or its last ones.
enum class Part { BEGIN, END };

std::string ContentOf(const fs::path& file, Part part) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    if (!stream)
        return "";
    const auto size = static_cast<std::size_t>(std::max<std::streamoff>(stream.tellg(), 0));
    std::string text(std::min(size, MOST_TEXT), '\0');
    stream.seekg(part == Part::BEGIN ? 0 : static_cast<std::streamoff>(size - text.size()));
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return text;
}

bool IsFull(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return !error && size >= LARGEST_FILE;
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text)
        quoted += (c == '"' || c == '\\' ? "\\" : "") + std::string(1, c);
    return quoted + "\"";
}

FileDescriptor OpenNew(const fs::path& file) {
    FileDescriptor opened(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!opened)
        ThrowSystemError("cannot write " + file.string());
    return opened;
}

// In a process group of its own, so that what a terminal's user sends to the search does not reach the run.
pid_t Start(const std::vector<std::string>& command, const fs::path& folder) {
    std::vector<char*> words;
    for (const std::string& word : command)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const FileDescriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const FileDescriptor output = OpenNew(folder / "output"), errors = OpenNew(folder / "errors");
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process < 0)
        ThrowSystemError("cannot start " + command[0]);
    if (process > 0)
        return process;
    ::setpgid(0, 0);
    // A board that is asked to end takes its programs with it; a killed one would leave them.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    const rlimit size{LARGEST_FILE, LARGEST_FILE}, core{0, 0};
    ::setrlimit(RLIMIT_FSIZE, &size);
    ::setrlimit(RLIMIT_CORE, &core);
    const bool isReady = ::dup2(input.Get(), STDIN_FILENO) >= 0 && ::dup2(output.Get(), STDOUT_FILENO) >= 0 &&
                         ::dup2(errors.Get(), STDERR_FILENO) >= 0;
    // Race: the parent may have died before prctl.
    if (isReady && ::getppid() == parent)
        ::execv(words[0], words.data());
    ::_exit(BOARD_GAVE_UP);
}

} // namespace

std::string ScenarioOf(const TrialSetup& setup, const Circumstances& circumstances, const std::string& include) {
    std::string text;
    for (const Circumstance& circumstance : circumstances)
        text += LineOf(circumstance) + "\n";
    for (const char* signal : CRASHES)
        text += std::string("never program is killed by ") + signal + "\n";
    if (!setup.scenario.empty())
        text += "include " + Quoted(include) + "\n";
    if (setup.length)
        text += "when program starts after " + ExactTime(*setup.length) + " send TERM\nwithin " +
                ExactTime(*setup.length + LONGEST_END) + " program ends\n";
    return text;
}

Trial::Trial(const TrialSetup& trialSetup, const ScenarioNames& boardNames, Circumstances trialCircumstances,
             fs::path ownFolder)
    : setup(trialSetup), names(boardNames), circumstances(std::move(trialCircumstances)), folder(std::move(ownFolder)),
      deadline(std::chrono::steady_clock::now() + setup.limit) {
    std::error_code error;
    fs::create_directories(folder, error);
    const fs::path scenario = folder / TRIAL_SCENARIO;
    std::ofstream stream(scenario);
    stream << ScenarioOf(setup, circumstances, setup.scenario.empty() ? "" : fs::absolute(setup.scenario).string());
    stream.close();
    if (!stream)
        ThrowSystemError("cannot write " + scenario.string());
    std::vector<std::string> command = {setup.board, "run",        "--time",           "virtual",     "--scenario",
                                        scenario,    "--timeline", folder / "run.vcd", "--directory", folder / "board"};
    command.insert(command.end(), setup.options.begin(), setup.options.end());
    command.emplace_back("--");
    command.insert(command.end(), setup.program.begin(), setup.program.end());
    process = Start(command, folder);
    ended = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!ended) {
        const int reason = errno;
        End();
        ThrowSystemError("cannot wait for " + setup.board, reason);
    }
}

Trial::~Trial() {
    if (process > 0)
        End();
    RemoveTree(folder);
}

bool Trial::HasEnded(milliseconds patience) const {
    pollfd end{ended.Get(), POLLIN, 0};
    return ::poll(&end, 1, static_cast<int>(patience.count())) == 1;
}

// A second SIGTERM makes the board kill all that runs on it; they are two when they are a quarter of a second apart.
int Trial::End() {
    constexpr struct {
        int signal;
        milliseconds patience;
    } STEPS[] = {{SIGTERM, milliseconds(300)}, {SIGTERM, milliseconds(1500)}, {SIGKILL, milliseconds(1000)}};
    for (const auto& step : STEPS) {
        if (HasEnded(milliseconds(0)))
            break;
        ::kill(process, step.signal);
        (void)HasEnded(step.patience);
    }
    // What is left of its group, before another process may have that number.
    ::kill(-process, SIGKILL);
    int status = 0;
    (void)::waitpid(process, &status, HasEnded(milliseconds(0)) ? 0 : WNOHANG);
    process = -1;
    return status;
}

TrialResult Trial::Finish() {
    const bool isOverdue = !HasEnded(milliseconds(0));
    return Judge(End(), isOverdue);
}

TrialResult Trial::Judge(int waitStatus, bool isOverdue) const {
    const int code = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
    const TrialReport report(ContentOf(folder / "errors", Part::END), (folder / TRIAL_SCENARIO).string());
    TrialResult result;
    result.notes = report.Notes();
    if (isOverdue) {
        result.failure = "the run hangs";
        result.message =
            "the run did not end within " + std::to_string(setup.limit.count()) + " s of the machine's time";
    } else if (IsFull(folder / "output") || IsFull(folder / "errors")) {
        result.failure = "the program prints without end";
        result.message = "the program printed more than " + std::to_string(LARGEST_FILE / 1024 / 1024) + " MiB";
    } else if (code != 0) {
        result.message = report.Message(code);
        result.failure = report.Failure(code);
    }
    if (circumstances.empty() && code == BOARD_GAVE_UP)
        throw BoardError("the program cannot be run on a board: " + result.message);
    if (circumstances.empty() && report.CouldNotRun())
        throw BoardError(setup.program.front() + " cannot be run: " + report.ReasonNotToRun());
    if (code == BOARD_GAVE_UP && result.message.find(TRIAL_SCENARIO + std::string(":")) != std::string::npos)
        throw BoardError("the search made a scenario that the board refuses: " + result.message);
    Observe(result);
    result.features.insert("failure " + result.failure);
    return result;
}

void Trial::Observe(TrialResult& result) const {
    const fs::path recording = folder / "run.vcd";
    if (!fs::exists(recording))
        return;
    try {
        const Timeline timeline = ReadVcd(recording.string());
        std::vector<std::string> logs;
        for (const char* log : {"board/syslog", "board/share/logger", "output"})
            for (std::string& line : LinesOf(ContentOf(folder / log, Part::BEGIN)))
                logs.push_back(std::move(line));
        result.features = FeaturesOf(timeline, logs);
        result.events = EventsOf(timeline, names);
    } catch (const TimelineError&) { // of a board that was killed
    }
}

} // namespace VelrixBoard
