// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

// A pseudo-terminal with a command in it.
class Terminal final {
public:
    explicit Terminal(std::vector<std::string> command) {
        process = ::forkpty(&descriptor, nullptr, nullptr, nullptr);
        if (process != 0) {
            KeepOutputAtInterrupts();
            return;
        }
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

    // Reads up to the text; everything if it does not come, or after a minute without output.
    std::string ReadUntil(const std::string& text) {
        std::string all;
        pollfd wait{descriptor, POLLIN, 0};
        char c = 0;
        while (all.find(text) == std::string::npos && ::poll(&wait, 1, 60'000) == 1 && ::read(descriptor, &c, 1) == 1)
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
    // NOFLSH: otherwise an interrupt character flushes unread output, after the signal is sent, so a race would discard
    // a fast program's answer.
    void KeepOutputAtInterrupts() const {
        termios settings{};
        EXPECT_EQ(::tcgetattr(descriptor, &settings), 0);
        settings.c_lflag |= NOFLSH;
        EXPECT_EQ(::tcsetattr(descriptor, TCSANOW, &settings), 0);
    }

    int descriptor = -1;
    pid_t process = -1;
};
