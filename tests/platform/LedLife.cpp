// SPDX-License-Identifier: Apache-2.0
// A program whose fatal events show on the LEDs and that ends in many ways, for LedLifeTest.
//
//     led-life WAY fatal|calm
//
// Both status LEDs are green at the start. Prints their state at each step: "after the child: red red", MS before NS.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <System/Diagnostics/Trace.h>

#include <velrix/platform/Platform.h>

namespace {

using System::Diagnostics::Trace;
using Velrix::Platform;

// The last byte of the file is the line's level, if only one process and its forks have opened the file.
char Level(const std::string& element) {
    std::ifstream file("/sys/class/leds/" + element + "/brightness");
    const std::string levels{std::istreambuf_iterator<char>(file), {}};
    const std::size_t last = levels.find_last_of("01");
    return last == std::string::npos ? '?' : levels[last];
}

std::string Color(const std::string& led) {
    const std::string levels{Level(led + "Grn"), Level(led + "Red")};
    return levels == "00" ? "off" : levels == "10" ? "green" : levels == "01" ? "red" : levels;
}

void Say(const std::string& moment) {
    std::printf("%s: %s %s\n", moment.c_str(), Color("ledGwSts").c_str(), Color("ledEthSts").c_str());
    std::fflush(stdout);
}

bool HoldsAnLed() {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // of the iteration
        if (std::filesystem::read_symlink(entry.path(), gone).string().ends_with("/brightness"))
            return true;
    }
    return false;
}

// Constructed before main, so destroyed before the libraries' objects.
struct Witness {
    ~Witness() {
        if (speaks)
            Trace::TraceFatal("from the destructor of a static");
    }
    bool speaks = false;
} witness;

// The child traces or not, and ends by the function.
void Fork(bool isFatal, void (*end)(int)) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (isFatal)
            Trace::TraceFatal("the child's");
        end(0);
    }
    ::waitpid(child, nullptr, 0);
    Say("after the child");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 64;
    const std::string way = argv[1];
    const bool isFatal = argv[2] == std::string("fatal");
    if (way == "executed") {
        Say(HoldsAnLed() ? "inherited" : "executed");
        ::_exit(0);
    }

    auto platform = Platform::INSTANCE.Value();
    platform->SetMsEnLedRunning();
    platform->SetNsLedConnectionEstablished();
    Trace::AddListener(platform->ledTraceListener);
    if (way == "exit from a function that holds the board")
        std::exit(0);
    platform.reset();

    if (way == "fork") {
        Fork(isFatal, &::_exit);
        return 0;
    }
    if (way == "fork and exit") {
        Fork(isFatal, &std::exit);
        ::_exit(0);
    }
    if (way == "static") {
        witness.speaks = isFatal;
        return 0;
    }
    if (isFatal)
        Trace::TraceFatal("the end");
    if (way == "exec") {
        char next[] = "executed";
        char* const arguments[] = {argv[0], next, argv[2], nullptr};
        ::execv("/proc/self/exe", arguments);
        return 1;
    }
    if (way == "return")
        return 0;
    if (way == "exit")
        std::exit(0);
    if (way == "_exit")
        ::_exit(0);
    if (way == "abort")
        std::abort();
    return 64;
}
