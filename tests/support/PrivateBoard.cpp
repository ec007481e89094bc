// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PrivateBoard.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "board/model/BoardModel.h"
#include "tests/support/Isolation.h"

namespace TestSupport {

namespace {

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

PrivateBoard::PrivateBoard() {
    std::string name = std::filesystem::temp_directory_path() / "velrix-test-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::runtime_error("cannot make " + name);
    folder = name;
}

PrivateBoard::~PrivateBoard() {
    if (process > 0) {
        Signal(SIGKILL);
        Wait();
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void PrivateBoard::SetSettings(const std::string& text) {
    const std::filesystem::path path = folder / "settings";
    std::ofstream(path) << text;
    AddOption("--settings", path);
}

void PrivateBoard::LeaveOut(const std::string& path) {
    AddOption("--without", path);
}

void PrivateBoard::AddOption(const std::string& option, const std::string& value) {
    options.push_back(option);
    if (!value.empty())
        options.push_back(value);
}

namespace {

// Boards for 32-bit machines preload nothing. The thread sanitizer has a thread in each program that waits past the
// board's clock.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VELRIX_TEST_HAS_THREAD_SANITIZER
#endif
#endif
#ifdef VELRIX_TEST_HAS_THREAD_SANITIZER
constexpr bool HAS_VIRTUAL_TIME = false;
#else
constexpr bool HAS_VIRTUAL_TIME = sizeof(void*) == 8;
#endif

} // namespace

BoardResult PrivateBoard::Run(const std::vector<std::string>& command) {
    if (HAS_VIRTUAL_TIME && std::find(options.begin(), options.end(), "--time") == options.end())
        AddOption("--time", "virtual");
    Start(command);
    return Wait();
}

void PrivateBoard::Start(const std::vector<std::string>& command) {
    std::vector<std::string> all = {VELRIX_BOARD_COMMAND, "run", "--directory", folder / "board"};
    all.insert(all.end(), options.begin(), options.end());
    all.push_back("--");
    all.insert(all.end(), command.begin(), command.end());
    all = WithIsolation(std::move(all));
    std::vector<char*> argv;
    for (std::string& argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    const std::string output = folder / "output", errors = folder / "errors";

    process = fork();
    if (process < 0)
        throw std::runtime_error("cannot fork");
    if (process == 0) {
        // Ends the board when the test is killed.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int outputFile = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const int errorsFile = open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(outputFile, STDOUT_FILENO);
        dup2(errorsFile, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
}

void PrivateBoard::Signal(int number) {
    // kill(-1) would signal every process.
    if (process <= 0)
        throw std::runtime_error("nothing runs on the board");
    kill(process, number);
}

BoardResult PrivateBoard::Wait() {
    int status = 0;
    if (waitpid(std::exchange(process, -1), &status, 0) < 0)
        throw std::runtime_error("nothing runs on the board");
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), ReadFile(folder / "output"),
            ReadFile(folder / "errors")};
}

std::string PrivateBoard::Content(const std::string& path) const {
    return ReadFile(Outside(path));
}

void PrivateBoard::Control(const std::string& command) const {
    const std::string line = command + "\n";
    const int pipe = open((folder / "board" / "control").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const ssize_t written = write(pipe, line.data(), line.size());
    close(pipe);
    if (written != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("the board does not take " + command);
}

std::string PrivateBoard::Written(const std::string& path) const {
    const VelrixBoard::BoardModel model;
    std::string signal;
    for (const VelrixBoard::Line& line : model.Lines())
        if (line.path == path)
            signal = line.label;
    for (const VelrixBoard::LedElement& element : model.LedElements())
        if (element.path == path)
            signal = element.Name();
    if (signal.empty())
        throw std::runtime_error(path + " is no value file");

    std::istringstream writes(ReadFile(folder / "board" / "writes"));
    std::string levels, time, name, level;
    while (writes >> time >> name >> level)
        if (name == signal)
            levels += level;
    return levels;
}

char PrivateBoard::Level(const std::string& path) const {
    const std::string levels = Written(path);
    return levels.empty() ? '0' : levels.back();
}

std::string PrivateBoard::Changes() const {
    std::istringstream lines(TimedChanges());
    std::string changes, time, change;
    while (lines >> time && std::getline(lines >> std::ws, change))
        changes += change + "\n";
    return changes;
}

std::string PrivateBoard::TimedChanges() const {
    return ReadFile(folder / "board" / "changes");
}

std::string PrivateBoard::Reboots() const {
    return ReadFile(folder / "board" / "reboot");
}

std::string PrivateBoard::Syslog() const {
    return ReadFile(folder / "board" / "syslog");
}

bool PrivateBoard::WaitFor(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::filesystem::path PrivateBoard::Outside(const std::string& path) const {
    const std::pair<std::string, std::string> places[] = {{"/mnt/share/", "share"}, {"/var/log/apps/", "logs"}};
    for (const auto& [inside, outside] : places)
        if (path.starts_with(inside))
            return folder / "board" / outside / path.substr(inside.size());
    return folder / "board" / "files" / path.substr(1);
}

} // namespace TestSupport
