// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Names.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard::Preload {
namespace {

constexpr const char* LIST = "socket\tthe-board\n"
                             "name\t/var/dev\t/run/device/var/dev\n"
                             "tree\t/var/dev\n"
                             "value\t/var/dev/in/value\t7\t0444\n"
                             "name\t/etc/a.conf\t/run/conf\n"
                             "cover\t/etc\t/run/etc\n"
                             "mount\t/sbin\t/run/bin\n"
                             "name\t/usr/sbin\t/run/bin\n"
                             "name\t/sbin/deep/down\t/elsewhere\n";

class NamesTest : public testing::Test {
protected:
    const Names* Read(const std::string& text) {
        folder.Write("names", text);
        return Names::Read(folder.Path("names").c_str());
    }

    const TestSupport::TemporaryFolder folder;
};

std::string Outside(const Names& names, const std::string& inside) {
    std::array<char, PATH_MAX> path{};
    inside.copy(path.data(), path.size() - 1);
    const Place place = names.Find(path.data(), inside.size());
    if (place.name == nullptr)
        return place.cover == nullptr ? "" : std::string("covered by ") + place.cover->inside;
    const std::size_t length = names.ToOutside(place, path.data(), inside.size(), path.size());
    EXPECT_EQ(length, std::strlen(path.data()));
    return std::string(path.data()) + (place.name->isMount ? " mount" : "") + (place.tree != nullptr ? " tree" : "") +
           (place.value != nullptr ? " value" + std::to_string(place.value->file) : "");
}

TEST_F(NamesTest, LeadsByTheLongestName) {
    const Names* names = Read(LIST);
    ASSERT_NE(names, nullptr);
    const struct {
        const char* inside;
        const char* outside;
    } rows[] = {{"/var/dev", "/run/device/var/dev tree"},
                {"/var/dev/in", "/run/device/var/dev/in tree"},
                {"/var/dev/in/value", "/run/device/var/dev/in/value tree value7"},
                {"/var/dev/in/value/x", "/run/device/var/dev/in/value/x tree"},
                {"/var/device", ""},
                {"/var", ""},
                {"/", ""},
                {"/etc/a.conf", "/run/conf"},
                {"/etc/a.conf2", "covered by /etc"},
                {"/etc", ""},
                {"/sbin", "/run/bin mount"},
                {"/sbin/x", "/run/bin/x mount"},
                {"/usr/sbin/x", "/run/bin/x"},
                {"/sbin/deep/x", "/run/bin/deep/x mount"},
                {"/sbin/deep/down/x", "/elsewhere/x"}};
    for (const auto& row : rows)
        EXPECT_EQ(Outside(*names, row.inside), row.outside) << row.inside;
    EXPECT_STREQ(names->Socket(), "the-board");
    EXPECT_FALSE(names->IsRoot());
}

TEST_F(NamesTest, NamesWhatIsOutsideByTheFirstNameOfTheList) {
    const Names* names = Read(LIST);
    ASSERT_NE(names, nullptr);
    const struct {
        const char* outside;
        const char* inside;
    } rows[] = {{"/run/bin/x", "/sbin/x"},
                {"/run/bin", "/sbin"},
                {"/run/binary", ""},
                {"/run/device/var/dev/in/value", "/var/dev/in/value"},
                {"/run", ""}};
    for (const auto& row : rows) {
        std::array<char, PATH_MAX> path{};
        std::strcpy(path.data(), row.outside);
        const std::size_t length = names->ToInside(path.data(), std::strlen(row.outside), path.size());
        EXPECT_EQ(length == 0 ? "" : std::string(path.data()), row.inside) << row.outside;
    }
}

TEST_F(NamesTest, KeepsWithinTheBufferOfAPath) {
    const Names* names = Read(LIST);
    ASSERT_NE(names, nullptr);
    std::array<char, 24> path = {"/var/dev/abc"};

    EXPECT_EQ(names->ToOutside(names->Find(path.data(), 12), path.data(), 12, 23), 0U);
    EXPECT_STREQ(path.data(), "/var/dev/abc");
    EXPECT_EQ(names->ToOutside(names->Find(path.data(), 12), path.data(), 12, 24), 23U);
    EXPECT_STREQ(path.data(), "/run/device/var/dev/abc");
}

TEST_F(NamesTest, FindsValuesByTheirNumber) {
    const Names* names = Read(std::string(LIST) + "root\n");
    ASSERT_NE(names, nullptr);

    ASSERT_NE(names->Value(7), nullptr);
    EXPECT_STREQ(names->Value(7)->inside, "/var/dev/in/value");
    EXPECT_EQ(names->Value(7)->mode, 0444U);
    EXPECT_EQ(names->Value(0), nullptr);
    EXPECT_TRUE(names->IsRoot());
}

TEST_F(NamesTest, RefusesWhatIsNoList) {
    for (const char* text : {"", "name\t/a\t/b\n", "socket\n", "socket\t\n", "socket\ta\tb\n", "socket\ta\nname\t/a\n",
                             "socket\ta\nname\ta\t/b\n", "socket\ta\nname\t/a\tb\n", "socket\ta\nname\t/\t/b\n",
                             "socket\ta\nvalue\t/a\tx\t0644\n", "socket\ta\nvalue\t/a\t1\t0888\n",
                             "socket\ta\nvalue\t/a\t1\n", "socket\ta\nvalue\t/a\t99999999999\t0644\n",
                             "socket\ta\nother\t/a\n", "socket\ta\n\n", "socket\ta\nroot\tx\n"}) {
        errno = 0;
        EXPECT_EQ(Read(text), nullptr) << text;
        EXPECT_EQ(errno, *text == '\0' ? errno : EINVAL) << text;
    }
    EXPECT_EQ(Names::Read(folder.Path("none").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(NamesTest, TakesThousandsOfNames) {
    std::string list = "socket\ta\n";
    for (int i = 0; i < 5000; ++i)
        list += "name\t/in/" + std::to_string(i) + "\t/out/" + std::to_string(i) + "\n";
    const Names* names = Read(list);
    ASSERT_NE(names, nullptr);

    EXPECT_EQ(Outside(*names, "/in/0"), "/out/0");
    EXPECT_EQ(Outside(*names, "/in/4999/x"), "/out/4999/x");
    EXPECT_EQ(Outside(*names, "/in/5000"), "");
}

} // namespace
} // namespace VelrixBoard::Preload
