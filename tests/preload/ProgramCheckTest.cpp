// SPDX-License-Identifier: Apache-2.0
#include "board/preload/ProgramCheck.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <elf.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard::Preload {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ProgramCheckTest : public testing::Test {
protected:
    // A minimal program file for the check.
    std::string Make(const std::string& loader, int elfClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32,
                     int machine = 0) {
        ElfW(Ehdr) header{};
        std::ifstream own("/proc/self/exe", std::ios::binary);
        own.read(reinterpret_cast<char*>(&header), sizeof header);
        header.e_ident[EI_CLASS] = static_cast<unsigned char>(elfClass);
        if (machine != 0)
            header.e_machine = static_cast<ElfW(Half)>(machine);
        header.e_phoff = sizeof header;
        header.e_phnum = 2;
        header.e_phentsize = sizeof(ElfW(Phdr));
        std::array<ElfW(Phdr), 2> parts{};
        parts[0].p_type = PT_LOAD;
        parts[1].p_type = loader.empty() ? PT_LOAD : PT_INTERP;
        parts[1].p_offset = sizeof header + sizeof parts;
        parts[1].p_filesz = loader.size() + 1;
        const std::string path = folder.Path("program");
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(&header), sizeof header);
        file.write(reinterpret_cast<const char*>(parts.data()), sizeof parts);
        file << loader << '\0';
        return path;
    }

    std::string MakeScript(const std::string& name, const std::string& text) {
        folder.Write(name, text);
        return folder.Path(name);
    }

    std::string OwnLoader() {
        for (const auto& entry : std::filesystem::directory_iterator("/lib64"))
            if (entry.path().filename().string().find("ld-linux") == 0)
                return entry.path();
        return "/lib/ld-linux-aarch64.so.1";
    }

    Refusal Check(const std::string& path) { return CheckProgram(path.c_str(), what.data(), what.size()); }
    std::string What() const { return what.data(); }

    const TestSupport::TemporaryFolder folder;
    std::array<char, 4096> what = {"x"};
};

TEST_F(ProgramCheckTest, LetsDynamicallyLinkedProgramsOfThisMachineRun) {
    EXPECT_EQ(Check("/bin/sh"), Refusal::NONE);
    EXPECT_EQ(What(), "");
    EXPECT_EQ(Check("/proc/self/exe"), Refusal::NONE);
    EXPECT_EQ(Check(Make(OwnLoader())), Refusal::NONE);
    EXPECT_EQ(Check(Make("/other/place/" + std::filesystem::path(OwnLoader()).filename().string())), Refusal::NONE);
    EXPECT_EQ(Check(OwnLoader()), Refusal::NONE);
}

TEST_F(ProgramCheckTest, RefusesStaticallyLinkedPrograms) {
    EXPECT_EQ(Check(Make("")), Refusal::STATIC);
    EXPECT_EQ(What(), "is statically linked; a board that runs without namespaces can only run dynamically linked "
                      "programs");
}

TEST_F(ProgramCheckTest, RefusesProgramsOfOtherMachines) {
    EXPECT_EQ(Check(Make(OwnLoader(), ELFCLASS64, EM_S390)), Refusal::OTHER_MACHINE);
    EXPECT_THAT(What(), StartsWith("is built for another kind of processor; "));
    EXPECT_EQ(Check(Make(OwnLoader(), ELFCLASS32, EM_ARM)), Refusal::OTHER_MACHINE);
    EXPECT_EQ(What(), "is built for 32-bit ARM; run it with velrix-emulator");
    EXPECT_EQ(Check(Make("", ELFCLASS32, EM_386)), Refusal::OTHER_MACHINE);
}

TEST_F(ProgramCheckTest, RefusesProgramsOfAnotherCLibrary) {
    EXPECT_EQ(Check(Make("/lib/ld-musl-x86_64.so.1")), Refusal::OTHER_LOADER);
    EXPECT_THAT(What(), StartsWith("is linked with another C library; "));
}

TEST_F(ProgramCheckTest, RefusesProgramsThatGetTheRightsOfOthers) {
    const std::string path = Make(OwnLoader());
    ASSERT_EQ(::chmod(path.c_str(), 06755), 0);
    EXPECT_EQ(Check(path), Refusal::NONE) << "the user's own";
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
        ASSERT_EQ(::chmod(path.c_str(), 04755), 0);
        EXPECT_EQ(Check(path), Refusal::PRIVILEGED);
        EXPECT_THAT(What(), HasSubstr("rights of another user"));
        ASSERT_EQ(::chmod(path.c_str(), 02755), 0);
        EXPECT_EQ(Check(path), Refusal::PRIVILEGED);
        ASSERT_EQ(::chmod(path.c_str(), 02745), 0);
        EXPECT_EQ(Check(path), Refusal::NONE) << "a lock, not a group";
    } else {
        EXPECT_EQ(Check("/bin/su"), Refusal::PRIVILEGED);
    }
}

TEST_F(ProgramCheckTest, JudgesScriptsByTheirInterpreter) {
    const std::string fixed = Make("");
    EXPECT_EQ(Check(MakeScript("good", "#!/bin/sh\n")), Refusal::NONE);
    EXPECT_EQ(Check(MakeScript("spaced", "#! \t/bin/sh -e\n")), Refusal::NONE);
    EXPECT_EQ(Check(MakeScript("script", "#! " + fixed + " -x\n")), Refusal::STATIC);
    EXPECT_THAT(What(), StartsWith("is a script for " + fixed + ", which is statically linked; "));
    EXPECT_EQ(Check(MakeScript("outer", "#!" + folder.Path("script") + "\n")), Refusal::STATIC);
    EXPECT_EQ(Check(MakeScript("loop", "#!" + folder.Path("loop") + "\n")), Refusal::NONE);
}

TEST_F(ProgramCheckTest, LeavesToTheKernelWhatIsNoProgram) {
    EXPECT_EQ(Check(folder.Path("none")), Refusal::NONE);
    EXPECT_EQ(Check(folder.Path()), Refusal::NONE);
    EXPECT_EQ(Check(MakeScript("text", "text\n")), Refusal::NONE);
    EXPECT_EQ(Check(MakeScript("empty", "")), Refusal::NONE);
    EXPECT_EQ(Check(MakeScript("bare", "#!\n")), Refusal::NONE);
    EXPECT_EQ(What(), "");
}

TEST_F(ProgramCheckTest, CutsTheTextToItsRoom) {
    const std::string path = Make("");
    std::array<char, 6> room{};
    EXPECT_EQ(CheckProgram(path.c_str(), room.data(), room.size()), Refusal::STATIC);
    EXPECT_STREQ(room.data(), "is st");
    EXPECT_EQ(CheckProgram(path.c_str(), nullptr, 0), Refusal::STATIC);
}

} // namespace
} // namespace VelrixBoard::Preload
