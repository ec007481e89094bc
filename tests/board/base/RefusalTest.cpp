// SPDX-License-Identifier: Apache-2.0
#include "board/base/Refusal.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

constexpr uid_t SOMEBODY = 1000;
constexpr uid_t ROOT = 0;

TEST(RefusalTest, SaysWhyTheyAreRefusedAndWhatToDo) {
    const struct {
        const char* sysctl;
        const char* value;
        uid_t user;
        int error;
        const char* remedy;
    } rows[] = {
        {"kernel/unprivileged_userns_clone", "0\n", SOMEBODY, EPERM, "\"sysctl kernel.unprivileged_userns_clone=1\""},
        {"kernel/unprivileged_userns_clone", "0\n", ROOT, EPERM, "seccomp=unconfined"},
        {"kernel/unprivileged_userns_clone", "1\n", SOMEBODY, EPERM, "seccomp=unconfined"},
        {"user/max_user_namespaces", "0\n", SOMEBODY, ENOSPC, "\"sysctl user.max_user_namespaces=10000\""},
        {"user/max_user_namespaces", "0\n", ROOT, ENOSPC, "\"sysctl user.max_user_namespaces=10000\""},
        {"user/max_user_namespaces", "5\n", SOMEBODY, ENOSPC, "A limit on namespaces is reached"},
        {"kernel/apparmor_restrict_unprivileged_userns", "1\n", SOMEBODY, EACCES,
         "\"sysctl kernel.apparmor_restrict_unprivileged_userns=0\""},
        {"kernel/apparmor_restrict_unprivileged_userns", "1\n", ROOT, EACCES, "seccomp=unconfined"},
        {"kernel/apparmor_restrict_unprivileged_userns", "0\n", SOMEBODY, EACCES, "seccomp=unconfined"},
        {"kernel/other", "0\n", SOMEBODY, EPERM, "\"systemd-nspawn -D FOLDER\""},
        {"kernel/other", "0\n", SOMEBODY, EUSERS, "too deep"},
        {"kernel/other", "0\n", SOMEBODY, EINVAL, "CONFIG_USER_NS"},
        {"kernel/other", "0\n", SOMEBODY, ENOSYS, "CONFIG_USER_NS"},
    };
    for (const auto& row : rows) {
        const TestSupport::TemporaryFolder folder;
        std::filesystem::create_directory(folder.Path("kernel"));
        std::filesystem::create_directory(folder.Path("user"));
        folder.Write(row.sysctl, row.value);

        const std::string text = DescribeRefusal("clone", row.error, row.user, folder.Path());

        EXPECT_THAT(text, testing::StartsWith("cannot make the board's own namespaces (clone: ")) << row.sysctl;
        EXPECT_THAT(text, testing::HasSubstr(row.remedy)) << row.sysctl;
    }
}

} // namespace
} // namespace VelrixBoard
