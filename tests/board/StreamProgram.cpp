// SPDX-License-Identifier: Apache-2.0
//
// A helper program: uses a board's files like ordinary programs, by streams, directories and commands, and prints the
// results. Its output is the same on every board.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <spawn.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using std::cout;
using std::string;

const string LED = "/sys/class/leds/ledGwStsRed/brightness";
const string LINE = "/var/dev/gpio-outputs/qorResetN/value";
const string INPUT = "/var/dev/gpio-inputs/oxboMod1/value";

// The result of a call: "ok", or the error's name.
string Of(bool succeeded) {
    return succeeded ? "ok" : strerrorname_np(errno);
}

string Content(const string& path) {
    std::ifstream stream(path);
    string text{std::istreambuf_iterator<char>(stream), {}};
    std::replace(text.begin(), text.end(), '\n', '|');
    return text;
}

void Streams() {
    std::ofstream out(LED);
    out << 1 << std::endl;
    cout << "ofstream " << out.good() << " " << Content(LED);
    out << 0;
    out.close();
    cout << " " << out.good() << " " << Content(LED);
    std::ofstream junk(LED);
    junk << "junk" << std::flush;
    cout << " junk " << junk.good() << " input " << std::ofstream(INPUT).is_open() << " missing "
         << std::ifstream("/var/dev/none").is_open() << "\n";
    std::fstream both(LINE);
    string word;
    both << "1" << std::flush;
    both.seekg(0);
    both >> word;
    cout << "fstream " << both.good() << " " << word << "\n";
}

void StandardStreams() {
    std::FILE* file = std::fopen(LED.c_str(), "w");
    std::fprintf(file, "%d\n", 1);
    cout << "fopen " << Of(std::fflush(file) == 0) << " " << Content(LED) << " " << (::fileno(file) > 2);
    std::fputs("junk", file);
    cout << " " << Of(std::fclose(file) == 0);
    file = std::fopen(LED.c_str(), "r+");
    char line[8] = {};
    cout << " " << (std::fgets(line, sizeof line, file) != nullptr) << line[0];
    std::rewind(file);
    std::fputs("0", file);
    std::rewind(file);
    cout << " " << (std::fgets(line, sizeof line, file) != nullptr) << line[0];
    std::fclose(file);
    file = std::fopen(INPUT.c_str(), "w");
    cout << " " << Of(file != nullptr);
    file = std::fopen("/dev/null", "w");
    file = std::freopen(LED.c_str(), "w", file);
    std::fputs("1", file);
    cout << " freopen " << Of(std::fclose(file) == 0) << " " << Content(LED);
    const int descriptor = ::open(LED.c_str(), O_WRONLY);
    ::dprintf(descriptor, "%d", 0);
    cout << " dprintf " << Content(LED);
    file = ::fdopen(descriptor, "w");
    std::fputs("1", file);
    cout << " fdopen " << Of(std::fclose(file) == 0) << " " << Content(LED) << " " << Of(::close(descriptor) == 0)
         << "\n";
}

void Directories() {
    std::vector<string> leds;
    for (const fs::directory_entry& entry : fs::directory_iterator("/sys/class/leds"))
        leds.push_back(entry.path().filename());
    std::sort(leds.begin(), leds.end());
    cout << "leds " << leds.size() << " " << leds.front() << " " << leds.back() << " size " << fs::file_size(LED)
         << " mode " << std::oct << static_cast<int>(fs::status(INPUT).permissions()) << std::dec << " "
         << fs::canonical("/var/dev/../dev/gpio-inputs/oxboMod1/value") << "\n";
    ::glob_t found{};
    cout << "glob " << ::glob("/var/dev/gpio-*/*/value", 0, nullptr, &found) << " " << found.gl_pathc << " "
         << (found.gl_pathc > 0 ? found.gl_pathv[0] : "") << "\n";
    ::globfree(&found);
    ::dirent** names = nullptr;
    const int count = ::scandir("/var/dev", &names, nullptr, ::alphasort);
    cout << "scandir " << count << " " << fs::exists("/var/dev/none") << " " << fs::is_directory("/mnt/share")
         << fs::is_directory("/var/log/apps") << "\n";
    for (int i = 0; i < count; ++i)
        std::free(names[i]);
    std::free(names);
    const fs::path before = fs::current_path();
    fs::current_path("/var/dev/gpio-outputs");
    std::ofstream("qorResetN/value") << 0;
    cout << "relative " << fs::current_path() << " " << Content("../gpio-outputs/qorResetN/value") << " "
         << Content(LINE) << "\n";
    const int directory = ::open("/sys/class/leds", O_RDONLY | O_DIRECTORY);
    const int led = ::openat(directory, "ledGwStsRed/brightness", O_RDONLY);
    char c = 0;
    cout << "openat " << Of(::read(led, &c, 1) == 1) << c << " " << Of(::faccessat(directory, "none", F_OK, 0) == 0)
         << "\n";
    fs::current_path(before);
    char link[256] = {};
    (void)!::readlink(("/proc/self/fd/" + std::to_string(led)).c_str(), link, sizeof link - 1);
    cout << "link " << link << "\n";
}

void Files() {
    char name[] = "/mnt/share/fileXXXXXX";
    const int file = ::mkstemp(name);
    cout << "mkstemp " << Of(file >= 0) << " " << Of(::write(file, "x", 1) == 1) << " "
         << Of(::rename(name, "/mnt/share/renamed") == 0) << " " << Content("/mnt/share/renamed") << " "
         << Of(::link("/mnt/share/renamed", "/mnt/share/second") == 0) << " " << Of(::unlink("/mnt/share/renamed") == 0)
         << " " << Of(::access("/mnt/share/renamed", F_OK) == 0) << " " << fs::remove("/mnt/share/second") << " "
         << Of(::mkdir("/mnt/share/sub", 0755) == 0) << " " << Of(::rmdir("/mnt/share/sub") == 0) << "\n";
    fs::create_symlink(LED, "/mnt/share/led");
    cout << "symlink " << Content("/mnt/share/led") << " " << fs::read_symlink("/mnt/share/led") << "\n";
}

void Waits() {
    const int file = ::open(INPUT.c_str(), O_RDONLY | O_CLOEXEC);
    fd_set readable, writable, exceptional;
    const auto ready = [&] {
        FD_ZERO(&readable);
        FD_SET(file, &readable);
        writable = exceptional = readable;
        timeval none{};
        const int count = ::select(file + 1, &readable, &writable, &exceptional, &none);
        return std::to_string(count) + std::to_string(FD_ISSET(file, &readable) != 0) +
               std::to_string(FD_ISSET(file, &writable) != 0) + std::to_string(FD_ISSET(file, &exceptional) != 0);
    };
    char c = 0;
    cout << "select " << ready() << " " << Of(::pread(file, &c, 1, 0) == 1) << " " << ready() << "\n";
}

string Command(const string& command) {
    std::FILE* pipe = ::popen(command.c_str(), "r");
    char text[256] = {};
    const std::size_t length = std::fread(text, 1, sizeof text - 1, pipe);
    const int status = ::pclose(pipe);
    string output(text, length);
    std::replace(output.begin(), output.end(), '\n', '|');
    return output + std::to_string(WEXITSTATUS(status));
}

void Commands() {
    cout << "builtin " << Command("echo 1 > " + LED + "; cat " + LED) << " program "
         << Command("/bin/echo 0 > " + LED + "; cat < " + LED) << " junk "
         << Command("/bin/echo junk 2>&1 > " + LED + " | grep -c Invalid") << " tee "
         << Command("echo 1 | tee " + LED + "; cat " + LED) << " cat "
         << Command("echo 0 | cat > " + LED + "; cat " + LED) << "\n";
    cout << "env " << Command("env -i /bin/sh -c 'echo 1 > " + LED + "; cat " + LED + "'") << " find "
         << Command("find /var/dev -name value | wc -l") << " test " << Command("test -r " + INPUT) << " "
         << Command("test -e " + INPUT) << " dd " << Command("dd if=" + LED + " bs=1 count=1 2>/dev/null") << "\n";
    ::clearenv();
    cout << "system " << WEXITSTATUS(std::system(("echo 0 > " + LED).c_str())) << " " << Content(LED);
    const char* arguments[] = {"/bin/sh", "-c", "exit $(cat /sys/class/leds/ledGwStsRed/brightness)7", nullptr};
    pid_t process = 0;
    char* environment[] = {nullptr};
    int status = 0;
    ::posix_spawn(&process, arguments[0], nullptr, nullptr, const_cast<char* const*>(arguments), environment);
    ::waitpid(process, &status, 0);
    cout << " spawn " << WEXITSTATUS(status);
    // Inherited descriptors still work.
    const int led = ::open(LED.c_str(), O_RDWR);
    if ((process = ::fork()) == 0) {
        ::dup2(led, 7);
        ::execl("/bin/sh", "sh", "-c", "echo 1 >&7; exec 7>&-; exit 5", nullptr);
        ::_exit(99);
    }
    ::waitpid(process, &status, 0);
    cout << " inherited " << WEXITSTATUS(status) << " " << Content(LED) << "\n";
}

} // namespace

int main() {
    cout << std::unitbuf;
    Streams();
    StandardStreams();
    Directories();
    Files();
    Waits();
    Commands();
}
