// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// Where the paths of the device lie in the run directory, for the board and for those who look in from outside:
//
//     share/  logs/                    are /mnt/share and /var/log/apps
//     files/                           holds, by their whole path, files of the board that lie elsewhere
//     velrix.conf                      the settings file as it was given
//     control                          takes commands, a line each
//     reboot  syslog  changes  writes  what the board recorded, a line each
//
// The value files have no place there; they exist on the board alone. A board that runs without namespaces keeps there
// what it needs itself, while it runs: device/, names, velrix-board-preload.so.
//
// A value object; it touches no file.
class BoardLayout final {
public:
    explicit BoardLayout(std::filesystem::path runDirectory) : root(std::move(runDirectory)) {}

    const std::filesystem::path& Root() const { return root; }
    std::filesystem::path Settings() const { return root / "velrix.conf"; }
    std::filesystem::path Reboots() const { return root / "reboot"; }
    std::filesystem::path Syslog() const { return root / "syslog"; }
    std::filesystem::path SyslogSocket() const { return root / "dev-log"; }
    std::filesystem::path Changes() const { return root / "changes"; }
    std::filesystem::path Writes() const { return root / "writes"; }
    std::filesystem::path Control() const { return root / "control"; }
    std::filesystem::path Stage() const { return root / "stage"; }
    std::filesystem::path Device() const { return root / "device"; }
    std::filesystem::path Files() const { return root / "files"; }
    std::filesystem::path NameList() const { return root / "names"; }
    std::filesystem::path PreloadLibrary() const { return root / "velrix-board-preload.so"; }

    // The directories of the device whose content is kept outside.
    std::vector<Placement> Directories() const;

    // True for a path inside one of these directories.
    static bool IsInDirectories(const std::filesystem::path& inside);

    // The place of an absolute path of the device in the run directory.
    std::filesystem::path Outside(const std::filesystem::path& inside) const;

private:
    std::filesystem::path root;
};

} // namespace VelrixBoard
