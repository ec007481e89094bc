// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <elf.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

// The shell's exit codes.
constexpr int NOT_RUNNABLE = 126;
constexpr int NOT_FOUND = 127;

// The beginning of the file; all zeros when it is too short or cannot be read. 32-bit programs begin as 64-bit ones do,
// up to the machine.
Elf32_Ehdr ReadHeader(const char* file) {
    Elf32_Ehdr header{};
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(&header), sizeof header))
        return {};
    return header;
}

bool IsProgram(const Elf32_Ehdr& header) {
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0;
}

std::string WhyNot(const char* file, int error) {
    const Elf32_Ehdr header = error == ENOEXEC ? ReadHeader(file) : Elf32_Ehdr{};
    if (IsProgram(header) && header.e_ident[EI_CLASS] == ELFCLASS32 && header.e_machine == EM_ARM)
        return std::string(file) + " is built for 32-bit ARM; run it with velrix-emulator";
    std::error_code none;
    const bool isHere =
        error == ENOENT && std::strchr(file, '/') == nullptr && std::filesystem::is_regular_file(file, none);
    return std::string("cannot start ") + file + ": " + std::strerror(error) +
           (isHere ? std::string("; for the program in this directory, write ./") + file : "");
}

} // namespace

int ExecuteProgram(const char* file, char* const arguments[]) {
    if (std::strchr(file, '/') != nullptr) {
        ::execv(file, arguments);
        if (errno != ENOEXEC)
            return -1;
        if (IsProgram(ReadHeader(file))) {
            errno = ENOEXEC;
            return -1;
        }
    }
    return ::execvp(file, arguments);
}

Program CommandProgram(std::vector<std::string> command) {
    const auto run = [command = std::move(command)](const Execute& execute) mutable {
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        execute(arguments.front(), arguments.data());
        const int error = errno;
        std::fprintf(stderr, "velrix-board: %s\n", WhyNot(arguments.front(), error).c_str());
        // _exit, not exit: this process shares the board's open streams.
        std::fflush(stderr);
        ::_exit(error == ENOENT ? NOT_FOUND : NOT_RUNNABLE);
        return 0;
    };
    return {run, -1, -1};
}

} // namespace VelrixBoard
