// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ImageFolder.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using VelrixBoard::BoardError;
using VelrixBoard::DefaultImage;
using VelrixBoard::ImageScript;
using VelrixBoard::RequireImage;

void Set(const char* name, const char* value) {
    if (value == nullptr)
        ::unsetenv(name);
    else
        ::setenv(name, value, 1);
}

template <class Action>
std::string ErrorOf(const Action& action) {
    try {
        action();
    } catch (const BoardError& error) {
        return error.what();
    }
    return "none";
}

TEST(ImageFolder, IsInTheUsersCacheUnlessItIsNamed) {
    const struct {
        const char* named;
        const char* cache;
        const char* home;
        const char* folder;
    } rows[] = {
        {nullptr, nullptr, "/home/a", "/home/a/.cache/velrix/emulated-board"},
        {"", "", "/home/a", "/home/a/.cache/velrix/emulated-board"},
        {nullptr, "/cache", "/home/a", "/cache/velrix/emulated-board"},
        {nullptr, "/cache", nullptr, "/cache/velrix/emulated-board"},
        {nullptr, "relative", "/home/a", "/home/a/.cache/velrix/emulated-board"},
        {"/image", "/cache", "/home/a", "/image"},
        {"image", nullptr, nullptr, "image"},
    };
    for (const auto& row : rows) {
        Set("VELRIX_EMULATED_BOARD", row.named);
        Set("XDG_CACHE_HOME", row.cache);
        Set("HOME", row.home);

        EXPECT_EQ(DefaultImage(), row.folder);
    }
    for (const char* home : {static_cast<const char*>(nullptr), "", "relative"}) {
        Set("VELRIX_EMULATED_BOARD", nullptr);
        Set("XDG_CACHE_HOME", nullptr);
        Set("HOME", home);

        EXPECT_EQ(ErrorOf([] { (void)DefaultImage(); }),
                  "neither VELRIX_EMULATED_BOARD nor XDG_CACHE_HOME nor HOME says where the emulated board's image is; "
                  "name its folder with --image");
    }
}

TEST(ImageFolder, IsRefusedWithoutOneOfItsFiles) {
    const TestSupport::TemporaryFolder folder;
    for (const char* name : {"kernel", "board.dtb", "root.cpio", "lines.txt"}) {
        EXPECT_EQ(ErrorOf([&] { RequireImage(folder.Path()); }),
                  "the emulated board's " + folder.Path(name) +
                      " is missing; make it from Debian's packages with: velrix-emulator image " + folder.Path());
        folder.Write(name, "");
    }

    EXPECT_EQ(ErrorOf([&] { RequireImage(folder.Path()); }), "none");
}

TEST(ImageFolder, IsMadeByTheScriptOfTheInstallationOrOfTheSources) {
    const TestSupport::TemporaryFolder folder;
    for (const char* each :
         {"usr/bin", "usr/share/velrix/scripts", "sources/scripts", "sources/build/dev/board/commands"})
        std::filesystem::create_directories(folder.Path(each));
    EXPECT_EQ(ErrorOf([&] { (void)ImageScript(folder.Path("usr/bin/velrix-emulator")); }),
              "scripts/emulated-board-image, which makes the image, is missing in " + folder.Path("usr/share/velrix") +
                  "; install the package velrix-tools again");

    folder.Write("usr/share/velrix/scripts/emulated-board-image", "");
    folder.Write("sources/scripts/emulated-board-image", "");

    EXPECT_EQ(ImageScript(folder.Path("usr/bin/velrix-emulator")),
              folder.Path("usr/share/velrix/scripts/emulated-board-image"));
    EXPECT_EQ(ImageScript(folder.Path("sources/build/dev/board/commands/velrix-emulator")),
              folder.Path("sources/scripts/emulated-board-image"));
}

} // namespace
