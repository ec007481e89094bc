// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/Emulator.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"
#include "board/emulated/ImageFolder.h"

namespace VelrixBoard {

namespace {

constexpr const char* EMULATOR = "qemu-system-arm";

// Concatenates the image's archive and the files.
void WriteRoot(const std::filesystem::path& rootFile, const std::filesystem::path& image, const CpioArchive& files) {
    std::string root = ReadFile(image / "root.cpio");
    // The kernel looks for the next archive at a multiple of four bytes.
    root.resize((root.size() + 3) / 4 * 4, '\0');
    root += files.Finish();
    std::ofstream stream(rootFile, std::ios::binary);
    stream << root;
    stream.close();
    if (!stream)
        ThrowSystemError("cannot write " + rootFile.native());
}

// Makes a socket pair and keeps the emulator's end for it; returns the descriptor there.
std::string Connect(FileDescriptor& ours, std::vector<FileDescriptor>& kept) {
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        ThrowSystemError("socketpair");
    ::fcntl(pair[0], F_SETFL, O_NONBLOCK);
    ours = FileDescriptor(pair[0]);
    kept.emplace_back(pair[1]);
    return std::to_string(pair[1]);
}

std::string ConnectTrace(FileDescriptor& ours, std::vector<FileDescriptor>& kept) {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        ThrowSystemError("pipe");
    ::fcntl(pipe[0], F_SETFL, O_NONBLOCK);
    ours = FileDescriptor(pipe[0]);
    kept.emplace_back(pipe[1]);
    return std::to_string(pipe[1]);
}

std::vector<std::string> Arguments(const std::filesystem::path& image, const std::filesystem::path& rootFile,
                                   Emulator::Connections& ends, std::vector<FileDescriptor>& kept) {
    std::vector<std::string> arguments = {
        EMULATOR, "-M", "ast2600-evb", "-m", "1G", "-nodefaults", "-nic", "none", "-display", "none",
        // Adds time stamps to the trace.
        "-msg", "timestamp=on", "-kernel", (image / "kernel").native(), "-dtb", (image / "board.dtb").native(),
        "-initrd", rootFile.native(),
        // A panic restarts the machine, which the board detects; without the tests of ciphers
        // the boot takes half the time.
        "-append", "console=ttyS4,115200n8 quiet panic=-1 cryptomgr.notests", "-trace", "runstate_set", "-trace",
        "aspeed_gpio_write,file=/proc/self/fd/" + ConnectTrace(ends.trace, kept)};
    const auto connect = [&](const std::string& name, FileDescriptor& ours) {
        arguments.insert(arguments.end(), {"-chardev", "socket,id=" + name + ",fd=" + Connect(ours, kept)});
    };
    // The console is the first serial port.
    int number = 0;
    for (FileDescriptor* ours : {&ends.console, &ends.output, &ends.errors, &ends.agent}) {
        const std::string name = "port" + std::to_string(number++);
        connect(name, *ours);
        arguments.insert(arguments.end(), {"-serial", "chardev:" + name});
    }
    connect("qmp", ends.control);
    connect("gdb", ends.debugger);
    arguments.insert(arguments.end(), {"-mon", "chardev=qmp,mode=control", "-gdb", "chardev:gdb"});
    return arguments;
}

// In the child: executes the emulator; writes the error to verdict on failure.
[[noreturn]] void Execute(const std::vector<std::string>& arguments, const std::vector<FileDescriptor>& kept, int input,
                          int log, int verdict) {
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    // The emulator ends with this process; a process group, because Ctrl-C is for the program in it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpgid(0, 0);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::dup2(input, STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    for (const FileDescriptor& descriptor : kept)
        ::fcntl(descriptor.Get(), F_SETFD, 0);
    ::execvp(pointers[0], pointers.data());
    const int error = errno;
    [[maybe_unused]] const ssize_t written = ::write(verdict, &error, sizeof error);
    ::_exit(127);
}

} // namespace

Emulator::Emulator(const std::filesystem::path& image, const CpioArchive& files, Connections& connections) {
    RequireImage(image);
    const std::filesystem::path rootFile = directory.Path() / "root";
    WriteRoot(rootFile, image, files);
    std::vector<FileDescriptor> kept;
    Start(Arguments(image, rootFile, connections, kept), kept);
}

Emulator::~Emulator() {
    if (pid <= 0)
        return;
    Kill();
    ::waitpid(pid, nullptr, 0);
}

void Emulator::Kill() const {
    ::kill(pid, SIGKILL);
}

std::string Emulator::LastWords() const {
    constexpr std::size_t LENGTH = 800;
    const std::filesystem::path file = directory.Path() / "emulator";
    const std::string text = std::filesystem::exists(file) ? ReadFile(file) : "";
    return text.size() <= LENGTH ? text : text.substr(text.size() - LENGTH);
}

void Emulator::Start(const std::vector<std::string>& arguments, const std::vector<FileDescriptor>& kept) {
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
    if (pid == 0)
        Execute(arguments, kept, nothing.Get(), log.Get(), verdictEnd.Get());
    verdictEnd.Close();
    int error = 0;
    if (::read(verdict.Get(), &error, sizeof error) == sizeof error)
        throw BoardError(std::string(EMULATOR) + " cannot be started (" + std::strerror(error) +
                         "); Debian has it in the package qemu-system-arm");
}

} // namespace VelrixBoard
