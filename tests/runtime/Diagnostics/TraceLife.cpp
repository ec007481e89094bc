// SPDX-License-Identifier: Apache-2.0
// A program that traces and ends in many ways, for the tests of surviving records.
//
//     trace-life file:PATH|log:FACILITY|own WAY [ARGUMENT...]

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <System/Diagnostics/EventLogTraceListener.h>
#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>

#include "tests/support/Emulator.h"

namespace {

using namespace System;
using namespace System::Diagnostics;

// Writes records to standard output, and a line in its destructor.
class OwnListener final : public TraceListener {
public:
    ~OwnListener() override { Say("destroyed"); }
    void Close() override { Say("closed"); }
    void TraceEvent(std::shared_ptr<TraceEventArgs>, std::shared_ptr<TraceEventType>,
                    std::shared_ptr<Object> data) override {
        Say(data->ToString()->ToUtf8());
    }

private:
    static void Say(const std::string& text) {
        const std::string line = text + "\n";
        if (::write(STDOUT_FILENO, line.data(), line.size()) < 0)
            std::abort();
    }
};

std::shared_ptr<TraceListener> MakeListener(const std::string& description) {
    if (description.starts_with("file:"))
        return FileTraceListener::Create(description.substr(5));
    if (description.starts_with("log:"))
        return EventLogTraceListener::Create(std::stoi(description.substr(4)));
    return std::make_shared<OwnListener>();
}

// Constructed before main, destroyed after everything of main.
struct Witness {
    ~Witness() {
        if (speaks)
            Trace::TraceInformation("from the destructor of a static");
    }
    bool speaks = false;
} witness;

// Whether a file or a socket beyond the standard streams is open.
bool HasOpenFiles() {
    for (int descriptor = 3; descriptor < 100; ++descriptor) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
        if (!error && (target.string().starts_with("socket:") || target.extension() == ".log"))
            return true;
    }
    return false;
}

void TraceNumbered(int count, const std::string& writer) {
    // Many lengths, so that records cross page boundaries at every offset.
    const std::string padding(300, '.');
    for (int i = 0; i < count; ++i)
        Trace::TraceInformation(writer + " " + std::to_string(i) + " " +
                                padding.substr(0, static_cast<std::size_t>(i * 7 % 300)) + "|");
}

int Fork(bool endsByExit) {
    Trace::TraceInformation("parent before");
    const pid_t child = ::fork();
    if (child == 0) {
        Trace::TraceInformation("child");
        if (endsByExit)
            std::exit(0);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    Trace::TraceInformation("parent after");
    return status;
}

int Execute(char** arguments) {
    Trace::TraceInformation("before");
    std::vector<std::string> command = TestSupport::Command({arguments[0], arguments[1], "executed"});
    std::vector<char*> next;
    for (std::string& word : command)
        next.push_back(word.data());
    next.push_back(nullptr);
    ::execvp(next[0], next.data());
    return 1;
}

// Fills the file system of the file, traces on, makes room and traces on.
int FillDisk(const std::string& ballast) {
    const auto isFull = [&] {
        struct statvfs status;
        return ::statvfs(ballast.c_str(), &status) == 0 && status.f_bavail == 0;
    };
    int count = 0;
    while (!isFull())
        TraceNumbered(1, "filling " + std::to_string(count++));
    TraceNumbered(500, "lost");
    std::filesystem::remove(ballast);
    Trace::TraceInformation("room again");
    Trace::TraceInformation("and again");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 64;
    const std::string way = argv[2], argument = argc > 3 ? argv[3] : "";
    Trace::AddListener(MakeListener(argv[1]));

    if (way == "fork")
        return Fork(argument == "exit");
    if (way == "exec")
        return Execute(argv);
    if (way == "executed") {
        Trace::Close(); // reopened by this program; nothing of the previous one may be left
        const bool inherited = HasOpenFiles();
        Trace::AddListener(MakeListener(argv[1]));
        Trace::TraceInformation(inherited ? "inherited" : "after");
        return 0;
    }
    if (way == "return") {
        Trace::TraceInformation("last");
        return 0;
    }
    if (way == "exit") {
        Trace::TraceInformation("last");
        std::exit(0);
    }
    if (way == "_exit") {
        Trace::TraceInformation("last");
        ::_exit(0);
    }
    if (way == "abort") {
        Trace::TraceInformation("last");
        std::abort();
    }
    if (way == "static") {
        Trace::TraceInformation("last of main");
        witness.speaks = true;
        return 0;
    }
    if (way == "levels") {
        Trace::TraceDebug("debug");
        Trace::TraceInformation("information");
        Trace::TraceWarning("warning");
        Trace::TraceError("error");
        Trace::TraceFatal("fatal");
        return 0;
    }
    if (way == "texts") {
        Trace::TraceInformation("100 % %s %n %%");
        Trace::TraceInformation("a\nb\r\t\x1B[31m\\");
        Trace::TraceInformation(std::u16string_view(u"a\0b", 3));
        Trace::TraceInformation(u"Gr\u00FC\u00DFe");
        return 0;
    }
    if (way == "two") { // facilities side by side
        const auto second = EventLogTraceListener::Create(std::stoi(argument));
        for (int i = 0; i < 3; ++i) {
            Trace::TraceInformation("to one");
            Trace::AddListener(second);
            Trace::TraceInformation("to both");
            Trace::RemoveListener(second);
        }
        return 0;
    }
    if (way == "numbers") {
        TraceNumbered(std::stoi(argument), argc > 4 ? argv[4] : "");
        return 0;
    }
    if (way == "listen") { // traces every line of standard input, then answers on standard output
        for (std::string line; std::getline(std::cin, line);) {
            Trace::TraceInformation(line);
            std::cout << "traced " << line << std::endl;
        }
        return 0;
    }
    if (way == "fill")
        return FillDisk(argument);
    return 64;
}
