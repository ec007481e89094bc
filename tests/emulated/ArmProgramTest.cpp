// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ArmProgram.h"

#include <elf.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "board/virtual/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;
using VelrixBoard::AddArmProgram;
using VelrixBoard::BoardError;
using VelrixBoard::CpioArchive;
using VelrixBoard::ReadArmObject;
using VelrixBoard::ReadLoadedPart;

constexpr const char* COMPILER = "arm-linux-gnueabihf-g++";

// Programs and libraries made on the spot, since nothing else says what a linker really writes.
class ArmProgram : public testing::Test {
protected:
    void SetUp() override {
        if (std::system((std::string(COMPILER) + " --version > /dev/null 2>&1").c_str()) != 0)
            GTEST_SKIP() << "needs " << COMPILER;
        std::filesystem::create_directories(Path("lib"));
        Make("lib/libinner.so", "int inner() { return 1; }", "-shared -fPIC -Wl,-soname,libinner.so");
        Make("lib/libouter.so", "int inner(); int outer() { return inner(); }",
             "-shared -fPIC -Wl,-soname,libouter.so -Llib -linner -Wl,-rpath,'$ORIGIN'");
    }

    std::filesystem::path Path(const std::string& name) const { return folder.Path(name); }

    void Make(const std::string& name, const std::string& source, const std::string& options) const {
        std::ofstream(Path("source.cpp")) << source;
        const std::string command =
            "cd " + folder.Path() + " && " + COMPILER + " source.cpp " + options + " -o " + name;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    TemporaryFolder folder;
};

TEST_F(ArmProgram, TellsNeededLibrariesAndRunPath) {
    Make("program", "int outer(); int main() { return outer(); }",
         "-Llib -louter -Wl,-rpath-link,lib -Wl,-rpath,/one:/two");

    const auto object = ReadArmObject(Path("program"));

    ASSERT_TRUE(object);
    ASSERT_FALSE(object->needed.empty());
    EXPECT_EQ(object->needed[0], "libouter.so");
    EXPECT_EQ(object->runPath, (std::vector<std::string>{"/one", "/two"}));
}

TEST_F(ArmProgram, TellsThatAStaticProgramNeedsNothing) {
    Make("program", "int main() {}", "-static");

    const auto object = ReadArmObject(Path("program"));

    ASSERT_TRUE(object);
    EXPECT_TRUE(object->needed.empty());
}

TEST_F(ArmProgram, PutsLibrariesOfTheRunPathWhereTheyAre) {
    Make("program", "int outer(); int main() { return outer(); }",
         "-Llib -louter -Wl,-rpath-link,lib -Wl,-rpath,'$ORIGIN/lib'");

    CpioArchive archive;
    AddArmProgram(archive, Path("program"), {});

    CpioArchive expected;
    expected.AddProgram(Path("program"), ReadLoadedPart(Path("program")));
    expected.AddProgram(Path("lib/libouter.so"), ReadLoadedPart(Path("lib/libouter.so")));
    expected.AddProgram(Path("lib/libinner.so"), ReadLoadedPart(Path("lib/libinner.so")));
    EXPECT_EQ(archive.Finish(), expected.Finish());
}

TEST_F(ArmProgram, PutsLibrariesOfGivenFoldersIntoTheMachinesOwn) {
    Make("program", "int outer(); int main() { return outer(); }", "-Llib -louter -Wl,-rpath-link,lib");

    CpioArchive archive;
    AddArmProgram(archive, Path("program"), {Path("none"), Path("lib")});

    CpioArchive expected;
    expected.AddProgram(Path("program"), ReadLoadedPart(Path("program")));
    expected.AddProgram("/usr/lib/arm-linux-gnueabihf/libouter.so", ReadLoadedPart(Path("lib/libouter.so")));
    expected.AddProgram("/usr/lib/arm-linux-gnueabihf/libinner.so", ReadLoadedPart(Path("lib/libinner.so")));
    EXPECT_EQ(archive.Finish(), expected.Finish());
}

TEST_F(ArmProgram, TakesAlongOnlyWhatIsLoaded) {
    Make("program", "#include <iostream>\nint main() { std::cout << 6 * 7; }", "-g3");
    const std::string loaded = ReadLoadedPart(Path("program"));
    folder.Write("loaded", loaded);
    std::filesystem::permissions(Path("loaded"), std::filesystem::perms::owner_all);

    EXPECT_LT(loaded.size() * 3, std::filesystem::file_size(Path("program")));
    const std::string run = "cd " + folder.Path() + " && qemu-arm -L /usr/arm-linux-gnueabihf ./loaded >output";
    EXPECT_EQ(std::system(run.c_str()), 0);
    EXPECT_EQ(folder.Read("output"), "42");
}

TEST_F(ArmProgram, RefusesWhatIsCutShort) {
    Make("program", "int main() {}", "");
    for (const std::uintmax_t size : {std::uintmax_t{60}, std::uintmax_t{200}, std::uintmax_t{1000}}) {
        std::filesystem::resize_file(Path("program"), size);
        EXPECT_THROW(ReadArmObject(Path("program")), BoardError) << size;
        EXPECT_THROW(ReadLoadedPart(Path("program")), BoardError) << size;
        Make("program", "int main() {}", "");
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
        EXPECT_EQ(error.what(), program + " is no 32-bit ARM program; build it with the preset \"arm\"");
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
