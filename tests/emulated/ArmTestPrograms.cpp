// SPDX-License-Identifier: Apache-2.0
#include "tests/emulated/ArmTestPrograms.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "board/emulated/ArmProgram.h"

namespace fs = std::filesystem;

namespace {

fs::path FolderOf(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value)
        throw std::runtime_error(std::string(variable) + " names no folder; \"scripts/test emulated\" sets it");
    return fs::absolute(value).lexically_normal();
}

} // namespace

fs::path ArmTestPrograms::BuildFolder() {
    return FolderOf("VELRIX_ARM_BUILD");
}

fs::path ArmTestPrograms::ImageFolder() {
    return FolderOf("VELRIX_EMULATED_BOARD");
}

const std::vector<std::string>& ArmTestPrograms::BoardPrograms() {
    static const std::vector<std::string> programs = {
        Path("tests/board/board-tests"),
        Path("tests/gateway/gateway-tests"),
        Path("tests/identity/identity-board-tests"),
        Path("tests/logging/logging-board-tests"),
        Path("tests/panel/panel-tests"),
        Path("tests/platform/platform-board-tests"),
    };
    return programs;
}

std::vector<std::string> ArmTestPrograms::OtherPrograms() {
    std::vector<std::string> programs;
    for (const auto& folder : fs::directory_iterator(Path("tests")))
        if (folder.is_directory())
            for (const auto& entry : fs::directory_iterator(folder))
                if (entry.is_regular_file() && entry.path().filename().native().ends_with("-tests"))
                    programs.push_back(entry.path());
    std::sort(programs.begin(), programs.end());
    for (const std::string& program : BoardPrograms())
        std::erase(programs, program);
    return programs;
}

std::string ArmTestPrograms::Path(const std::string& program) {
    return BuildFolder() / program;
}

void ArmTestPrograms::Add(VelrixBoard::CpioArchive& files, const std::string& program) {
    // Libraries that several programs need come several times, which the kernel takes.
    VelrixBoard::AddArmProgram(files, program, {SOURCE_FOLDER "/build/arm-sysroot/usr/lib/arm-linux-gnueabihf"});
}

void ArmTestPrograms::AddWhatTestsNeed(VelrixBoard::CpioArchive& files) {
    for (const char* program : {"board/virtual/velrix-board", "examples/gateway/gateway", "tests/board/reboot-call",
                                "tests/identity/identity-scene", "tests/logging/app1", "tests/platform/led-life",
                                "tests/platform/platform-scenes", "tests/runtime/trace-life"})
        Add(files, Path(program));
    for (const char* folder : {"/board/emulated/image", "/docs", "/tests"})
        files.AddTree(std::string(SOURCE_FOLDER) + folder, std::string(SOURCE_FOLDER) + folder);
}
