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

constexpr const char* DEBIAN_LIBRARIES = "/usr/lib/arm-linux-gnueabihf";

// Adds a program or library of a Debian package with the libraries that it needs, at the path that it has on the
// device.
void AddTool(VelrixBoard::CpioArchive& files, const std::string& path) {
    const std::string tools = SOURCE_FOLDER "/build/arm-test-tools/root";
    if (!fs::exists(tools + path))
        throw std::runtime_error(tools + path + " is missing; scripts/arm-test-tools fetches it");
    VelrixBoard::AddArmProgram(files, tools + path, {tools + DEBIAN_LIBRARIES});
    files.AddLink(path, tools + path);
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
        Path("tests/tools/velrixctl/velrixctl-board-tests"),
    };
    return programs;
}

std::vector<std::string> ArmTestPrograms::OtherPrograms() {
    std::vector<std::string> programs;
    for (const auto& entry : fs::recursive_directory_iterator(Path("tests")))
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
    VelrixBoard::AddArmProgram(files, program, {SOURCE_FOLDER "/build/arm-sysroot" + std::string(DEBIAN_LIBRARIES)});
}

void ArmTestPrograms::AddWhatTestsNeed(VelrixBoard::CpioArchive& files) {
    for (const char* program :
         {"board/commands/velrix-board", "examples/gateway/gateway", "tests/board/readme-program",
          "tests/board/reboot-call", "tests/board/stream-program", "tests/board/write-probe",
          "tests/emulated/value-file-probe", "tests/identity/identity-scene", "tests/logging/app1",
          "tests/platform/led-life", "tests/platform/platform-scenes", "tests/runtime/trace-life",
          "tests/tools/velrixctl/platform-calls", "tools/velrixctl/velrixctl"})
        Add(files, Path(program));
    for (const char* folder : {"/board/emulated/image", "/docs", "/packaging/man", "/tests"})
        files.AddTree(std::string(SOURCE_FOLDER) + folder, std::string(SOURCE_FOLDER) + folder);
}

void ArmTestPrograms::AddToolsOfBoardPrograms(VelrixBoard::CpioArchive& files) {
    AddTool(files, "/usr/sbin/rsyslogd");
    // The one that the tests' configuration names, and the one without which it does not start.
    for (const char* module : {"/rsyslog/imuxsock.so", "/rsyslog/lmnet.so"})
        AddTool(files, DEBIAN_LIBRARIES + std::string(module));
}

void ArmTestPrograms::AddToolsOfOtherPrograms(VelrixBoard::CpioArchive& files) {
    for (const char* program : {"cpio", "fst2vcd", "sigrok-cli", "vcd2fst"})
        AddTool(files, std::string("/usr/bin/") + program);
    files.AddTree(Path("tests/emulated/samples"), Path("tests/emulated/samples"));
}
