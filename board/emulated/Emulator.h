// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

#include "board/base/FileDescriptor.h"
#include "board/base/RunDirectory.h"
#include "board/emulated/CpioArchive.h"

namespace VelrixBoard {

// The emulator's process; killed with the object.
class Emulator final {
public:
    // Our ends of its connections, non-blocking.
    struct Connections {
        FileDescriptor console;
        FileDescriptor output; // of the program
        FileDescriptor errors;
        FileDescriptor agent;
        FileDescriptor control; // by QMP
        FileDescriptor debugger;
        FileDescriptor trace;
    };

    // Starts it with an image, see ImageFolder.h, and further files. Throws BoardError when the emulator
    // or a part of the image is missing.
    Emulator(const std::filesystem::path& image, const CpioArchive& files, Connections& connections);
    ~Emulator();

    void Kill() const;

    // The end of its output, for error messages.
    std::string LastWords() const;

private:
    void Start(const std::vector<std::string>& arguments, const std::vector<FileDescriptor>& kept);

    RunDirectory directory = RunDirectory::Private();
    pid_t pid = -1;
};

} // namespace VelrixBoard
