// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include <csignal>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

// A terminal of the test's own with a command in it.
class Terminal final {
public:
    explicit Terminal(std::vector<std::string> command) {
        process = ::forkpty(&descriptor, nullptr, nullptr, nullptr);
        if (process != 0)
            return;
        ::setenv("TERM", "xterm", 1);
        std::vector<char*> arguments;
        for (std::string& word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        ::execv(arguments.front(), arguments.data());
        ::_exit(97);
    }

    void Type(const std::string& text) const {
        EXPECT_EQ(::write(descriptor, text.data(), text.size()), ssize_t(text.size()));
    }

    void Resize(unsigned short columns, unsigned short rows) const {
        const winsize size{rows, columns, 0, 0};
        EXPECT_EQ(::ioctl(descriptor, TIOCSWINSZ, &size), 0);
    }

    void Signal(int number) const { EXPECT_EQ(::kill(process, number), 0); }

    // Everything up to the text; all there is when it does not come.
    std::string ReadUntil(const std::string& text) {
        std::string all;
        char c = 0;
        while (all.find(text) == std::string::npos && ::read(descriptor, &c, 1) == 1)
            all += c;
        return all;
    }

    int Wait() {
        ReadUntil("text that does not come");
        int status = 0;
        ::waitpid(process, &status, 0);
        ::close(descriptor);
        return status;
    }

private:
    int descriptor = -1;
    pid_t process = -1;
};
