// SPDX-License-Identifier: Apache-2.0
#include "board/base/BoardLayout.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

TEST(BoardLayoutTest, FindsEveryPathOfTheDeviceInTheRunDirectory) {
    const struct {
        const char* inside;
        const char* outside;
        bool inDirectories;
    } rows[] = {
        {"/mnt/share/logger", "/run/b/share/logger", true},
        {"/mnt/share", "/run/b/share", true},
        {"/var/log/apps/a.log", "/run/b/logs/a.log", true},
        {"/var/log/messages", "/run/b/files/var/log/messages", false},
        {"/var/devices/x", "/run/b/files/var/devices/x", false},
        {"/var", "/run/b/files/var", false},
        {"/var/dev/../x", "/run/b/files/var/x", false},
        {"/x/../mnt/share//a", "/run/b/share/a", true},
    };
    const BoardLayout layout("/run/b");
    for (const auto& row : rows) {
        EXPECT_EQ(layout.Outside(row.inside), row.outside) << row.inside;
        EXPECT_EQ(BoardLayout::IsInDirectories(row.inside), row.inDirectories) << row.inside;
    }
}

TEST(BoardLayoutTest, BindsTheDirectoriesOfTheDevice) {
    std::string text;
    for (const Placement& place : BoardLayout("/b").Directories())
        text +=
            place.inside.string() + "=" + place.outside.string() + (place.kind == Placement::Kind::BIND ? " " : "?");

    EXPECT_EQ(text, "/mnt/share=/b/share /var/log/apps=/b/logs ");
}

} // namespace
} // namespace VelrixBoard
