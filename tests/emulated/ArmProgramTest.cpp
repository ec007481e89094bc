// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ArmProgram.h"

#include <elf.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/Emulator.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;
using VelrixBoard::AddArmProgram;
using VelrixBoard::BoardError;
using VelrixBoard::CpioArchive;
using VelrixBoard::ReadArmObject;
using VelrixBoard::ReadLoadedPart;

// The path of a program or library that the build made with the compiler for the device, since nothing else says what a
// linker really writes.
std::filesystem::path Path(const std::string& name) {
    return std::filesystem::path(ARM_SAMPLES) / name;
}

// A line of a shell script that starts a program for the device.
std::string ShellCommand(const std::string& program) {
#ifdef __arm__
    return TestSupport::ShellCommand(program);
#else
    return "qemu-arm -L /usr/arm-linux-gnueabihf " + program;
#endif
}

TEST(ArmProgram, TellsNeededLibrariesAndRunPath) {
    const auto object = ReadArmObject(Path("run-path-of-two"));

    ASSERT_TRUE(object);
    ASSERT_FALSE(object->needed.empty());
    EXPECT_EQ(object->needed[0], "libouter.so");
    EXPECT_EQ(object->runPath, (std::vector<std::string>{"/one", "/two"}));
}

TEST(ArmProgram, TellsThatAStaticProgramNeedsNothing) {
    const auto object = ReadArmObject(Path("static"));

    ASSERT_TRUE(object);
    EXPECT_TRUE(object->needed.empty());
}

TEST(ArmProgram, PutsLibrariesOfTheRunPathWhereTheyAre) {
    CpioArchive archive;
    AddArmProgram(archive, Path("run-path-beside"), {});

    CpioArchive expected;
    expected.AddProgram(Path("run-path-beside"), ReadLoadedPart(Path("run-path-beside")));
    expected.AddProgram(Path("lib/libouter.so"), ReadLoadedPart(Path("lib/libouter.so")));
    expected.AddProgram(Path("lib/libinner.so"), ReadLoadedPart(Path("lib/libinner.so")));
    EXPECT_EQ(archive.Finish(), expected.Finish());
}

TEST(ArmProgram, PutsLibrariesOfGivenFoldersIntoTheMachinesOwn) {
    CpioArchive archive;
    AddArmProgram(archive, Path("no-run-path"), {Path("none"), Path("lib")});

    CpioArchive expected;
    expected.AddProgram(Path("no-run-path"), ReadLoadedPart(Path("no-run-path")));
    expected.AddProgram("/usr/lib/arm-linux-gnueabihf/libouter.so", ReadLoadedPart(Path("lib/libouter.so")));
    expected.AddProgram("/usr/lib/arm-linux-gnueabihf/libinner.so", ReadLoadedPart(Path("lib/libinner.so")));
    EXPECT_EQ(archive.Finish(), expected.Finish());
}

TEST(ArmProgram, TakesAlongOnlyWhatIsLoaded) {
    const TemporaryFolder folder;
    const std::string loaded = ReadLoadedPart(Path("with-debug-information"));
    folder.Write("loaded", loaded);
    std::filesystem::permissions(folder.Path("loaded"), std::filesystem::perms::owner_all);

    EXPECT_LT(loaded.size() * 3, std::filesystem::file_size(Path("with-debug-information")));
    const std::string run = ShellCommand(folder.Path("loaded")) + " >" + folder.Path("output");
    EXPECT_EQ(std::system(run.c_str()), 0);
    EXPECT_EQ(folder.Read("output"), "42");
}

TEST(ArmProgram, RefusesWhatIsCutShort) {
    const TemporaryFolder folder;
    const std::string program = folder.Path("program");
    for (const std::uintmax_t size : {std::uintmax_t{60}, std::uintmax_t{200}, std::uintmax_t{1000}}) {
        std::filesystem::copy_file(Path("small"), program, std::filesystem::copy_options::overwrite_existing);
        ASSERT_TRUE(ReadArmObject(program));
        std::filesystem::resize_file(program, size);
        EXPECT_THROW(ReadArmObject(program), BoardError) << size;
        EXPECT_THROW(ReadLoadedPart(program), BoardError) << size;
    }
}

TEST(ArmProgramErrors, RefusesProgramsOfOtherMachines) {
    const TemporaryFolder folder;
    const std::string program = folder.Path("program");
    Elf64_Ehdr header{};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_machine = EM_X86_64;
    std::ofstream(program).write(reinterpret_cast<const char*>(&header), sizeof header);
    CpioArchive archive;

    EXPECT_FALSE(ReadArmObject(program));
    try {
        AddArmProgram(archive, program, {});
        ADD_FAILURE();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(), program + " is no 32-bit ARM program; build it for the device, with "
                                          "arm-linux-gnueabihf-g++");
    }
}

TEST(ArmProgramErrors, RefusesTextAndWhatCannotBeRead) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path("script")) << "#!/bin/sh\n";

    EXPECT_FALSE(ReadArmObject(folder.Path("script")));
    EXPECT_THROW(ReadArmObject(folder.Path("absent")), BoardError);
    EXPECT_THROW(ReadArmObject(folder.Path()), BoardError);
}

} // namespace
