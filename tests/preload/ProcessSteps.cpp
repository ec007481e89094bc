// SPDX-License-Identifier: Apache-2.0
// Steps with programs, the system log, sockets and the rest.
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "board/preload/Protocol.h"
#include "tests/preload/StandInBoard.h"
#include "tests/preload/Steps.h"

namespace VelrixBoard::Preload {

namespace {

// The exit code of a child that runs start, which execs or returns the error.
template <class Start>
std::string Child(Start start) {
    std::fflush(stdout);
    const pid_t process = ::fork();
    if (process == 0) {
        start();
        ::_exit(100 + (errno == EACCES ? 1 : errno == ENOENT ? 2 : errno == E2BIG ? 3 : 4));
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

std::string Waited(int error, const pid_t& process) {
    if (error != 0)
        return strerrorname_np(error);
    int status = 0;
    ::waitpid(process, &status, 0);
    return std::to_string(WEXITSTATUS(status));
}

// Starts a script on the board in every way; its exit code is its first argument.
void Execute(const std::string&) {
    const char* path = "/mnt/share/script";
    const int file = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0700);
    constexpr const char TEXT[] = "#!/bin/sh\ntest -d /var/dev && exit $1\nexit 99\n";
    (void)!::write(file, TEXT, sizeof TEXT - 1);
    ::close(file);
    (void)::chmod(path, 0700);
    std::array<char, 8> name = {"script"}, code = {"7"};
    std::array<char*, 3> words = {name.data(), code.data(), nullptr};
    std::array<char*, 1> empty = {nullptr};
    Print({Child([&] { ::execve(path, words.data(), environ); }),
           Child([&] { ::execve(path, words.data(), empty.data()); }), Child([&] { ::execv(path, words.data()); }),
           Child([&] { ::execvp(path, words.data()); }), Child([&] { ::execvpe(path, words.data(), empty.data()); }),
           Child([&] { ::execl(path, "script", "8", nullptr); }),
           Child([&] { ::execlp(path, "script", "9", nullptr); }),
           Child([&] { ::execle(path, "script", "10", nullptr, empty.data()); })});
    Print({Child([&] { ::execve("/mnt/share/none", words.data(), environ); }),
           Child([&] { ::execveat(AT_FDCWD, path, words.data(), empty.data(), 0); }),
           Child([&] { ::fexecve(::open("/bin/true", O_RDONLY | O_CLOEXEC), words.data(), environ); })});
    ::setenv("PATH", "/none:/mnt/share:/bin", 1);
    pid_t process = 0;
    Print({Child([&] { ::execvp("script", words.data()); }),
           Child([&] { ::execlp("script", "script", "11", nullptr); }), Child([&] { ::execvp("none", words.data()); }),
           Child([&] { ::execvp("true", words.data()); }),
           Waited(::posix_spawn(&process, path, nullptr, nullptr, words.data(), empty.data()), process),
           Waited(::posix_spawnp(&process, "script", nullptr, nullptr, words.data(), environ), process),
           Waited(::posix_spawnp(&process, "none", nullptr, nullptr, words.data(), environ), process)});
    const pid_t child = ::vfork();
    if (child == 0) {
        ::execv(path, words.data());
        ::_exit(99);
    }
    Print({Waited(0, child)});
    ::clearenv();
    const std::string command = std::string("echo 1 > ") + StandInBoard::OUTPUT_PATH;
    FILE* const pipe = ::popen("echo $((1 + 1)); test -d /var/dev", "r");
    std::array<char, 8> line{};
    (void)!std::fgets(line.data(), line.size(), pipe);
    Print({std::to_string(std::system(command.c_str())), line.data(), std::to_string(::pclose(pipe)),
           std::to_string(environ == nullptr || *environ == nullptr)});
}

// A script without a #! line, which execvp and its like run by the shell.
void ExecutePlainText(const std::string&) {
    const int file = ::open("/mnt/share/text", O_WRONLY | O_CREAT | O_CLOEXEC, 0700);
    (void)!::write(file, "exit $1\n", 8);
    ::close(file);
    std::array<char, 8> name = {"text"}, code = {"12"};
    std::array<char*, 3> words = {name.data(), code.data(), nullptr};
    Print({Child([&] { ::execvp("/mnt/share/text", words.data()); }),
           Child([&] { ::execv("/mnt/share/text", words.data()); })});
}

void ExecuteGiven(const std::string& path) {
    std::array<char*, 2> words = {const_cast<char*>(path.c_str()), nullptr};
    pid_t process = 0;
    Print({Child([&] { ::execv(path.c_str(), words.data()); }), Child([&] { ::execlp(path.c_str(), "x", nullptr); }),
           Waited(::posix_spawn(&process, path.c_str(), nullptr, nullptr, words.data(), environ), process)});
}

void SpawnWithActions(const std::string&) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    const int first = ::posix_spawn_file_actions_addopen(&actions, 1, "/mnt/share/spawned", O_WRONLY | O_CREAT, 0600);
    const int second = ::posix_spawn_file_actions_addopen(&actions, 2, StandInBoard::OUTPUT_PATH, O_WRONLY, 0);
    const int third = ::posix_spawn_file_actions_addchdir_np(&actions, "/mnt/share");
    std::array<char, 4> name = {"pwd"};
    std::array<char*, 2> words = {name.data(), nullptr};
    pid_t process = 0;
    const std::string code =
        Waited(::posix_spawn(&process, "/bin/pwd", &actions, nullptr, words.data(), environ), process);
    ::posix_spawn_file_actions_destroy(&actions);
    std::array<char, 32> text{};
    (void)!::read(::open("/mnt/share/spawned", O_RDONLY | O_CLOEXEC), text.data(), text.size() - 1);
    Print({std::to_string(first), strerrorname_np(second), std::to_string(third), code, text.data()});
}

void LogVaried(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ::vsyslog(priority, format, arguments);
    va_end(arguments);
}

void Log(const std::string&) {
    ::openlog("tag", LOG_PID | LOG_NDELAY, LOG_DAEMON);
    errno = ENOENT;
    LogVaried(LOG_ERR, "number %d: %m", 5);
    LogVaried(LOG_INFO | LOG_LOCAL3, "%s\n", "varied");
    Print({std::to_string(::setlogmask(LOG_UPTO(LOG_ERR)))});
    ::syslog(LOG_INFO, "masked");
    (void)::setlogmask(LOG_UPTO(LOG_DEBUG));
    ::closelog();
    ::syslog(LOG_WARNING, "%s", std::string(3000, 'x').c_str());
    ::openlog("second", 0, LOG_USER);
    ::closefrom(3);
    ::syslog(LOG_NOTICE, "after the socket went");
    std::fflush(stdout);
    const int errors = ::dup(STDERR_FILENO);
    ::dup2(STDOUT_FILENO, STDERR_FILENO);
    ::openlog("third", LOG_PERROR, LOG_USER);
    ::syslog(LOG_NOTICE, "shown");
    ::dup2(errors, STDERR_FILENO);
}

// Direct use of the log's socket.
void UseSockets(const std::string&) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    const auto* const name = reinterpret_cast<const sockaddr*>(&address);
    const int connected = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int sending = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    Print({Of(::connect(connected, name, sizeof address)), Of(::send(connected, "one", 3, 0)),
           Of(::sendto(sending, "two", 3, 0, name, sizeof address))});
    char text[] = "three";
    iovec part{text, 5};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    std::strcpy(address.sun_path, "/dev/log");
    Print({Of(::sendmsg(sending, &message, 0))});
    const int bound = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::strcpy(address.sun_path, "/mnt/share/socket");
    struct stat status {};
    Print({Of(::bind(bound, name, sizeof address)), Of(::stat("/mnt/share/socket", &status)),
           std::to_string(S_ISSOCK(status.st_mode)), Of(::connect(sending, name, sizeof address))});
}

void AskForUser(const std::string&) {
    uid_t user = 1, effective = 1, saved = 1;
    gid_t group = 1, effectiveGroup = 1, savedGroup = 1;
    (void)::getresuid(&user, &effective, &saved);
    (void)::getresgid(&group, &effectiveGroup, &savedGroup);
    struct stat status {};
    (void)::stat(StandInBoard::OUTPUT_PATH, &status);
    Print({std::to_string(::getuid() + ::geteuid() + ::getgid() + ::getegid()),
           std::to_string(user + effective + saved), std::to_string(group + effectiveGroup + savedGroup),
           std::to_string(status.st_uid), Of(::access(StandInBoard::INPUT_PATH, W_OK))});
}

// Never the machine's: the program first drops its capabilities.
void Reboot(const std::string&) {
    if (::syscall(SYS_geteuid) == 0 && ::syscall(SYS_setresuid, 65534, 65534, 65534) != 0)
        return;
    Print({Of(::reboot(static_cast<int>(RB_AUTOBOOT))), Of(::reboot(static_cast<int>(RB_POWER_OFF))),
           Of(::reboot(static_cast<int>(RB_ENABLE_CAD)))});
}

void Load(const std::string& library) {
    const auto isLoaded = [](const char* file) { return ::dlopen(file, RTLD_NOW) != nullptr ? "loaded" : "none"; };
    Print({isLoaded(library.c_str()), isLoaded("/mnt/share/none.so"), isLoaded("libm.so.6"), isLoaded(nullptr)});
    // Only found by this program's run path.
    Print({isLoaded("preloaded-plugin.so")});
}

// A preloaded program without a board joins a board.
void BeginLater(const std::string& list) {
    struct stat status {};
    std::string results = Of(::stat("/mnt/share", &status)) + " ";
    ::setenv(LIST_VARIABLE, list.c_str(), 1);
    results += Of(::stat("/mnt/share", &status)) + " ";
    reinterpret_cast<void (*)()>(::dlsym(RTLD_DEFAULT, BEGIN_FUNCTION))();
    Print({results + Of(::stat("/mnt/share", &status))});
}

} // namespace

std::vector<Step> ProcessSteps() {
    return {{"execute", Execute},
            {"plain text", ExecutePlainText},
            {"execute given", ExecuteGiven},
            {"spawn", SpawnWithActions},
            {"log", Log},
            {"sockets", UseSockets},
            {"user", AskForUser},
            {"reboot", Reboot},
            {"load", Load},
            {"begin later", BeginLater}};
}

} // namespace VelrixBoard::Preload
