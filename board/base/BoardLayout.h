// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// Maps the device's paths to paths in the run directory, for the board and for readers outside:
//
//     share/  logs/                    are /mnt/share and /var/log/apps
//     files/                           other files of the board, by their full path
//     velrix.conf                      a copy of the settings file
//     control                          accepts commands, one per line
//     reboot  syslog  changes  writes  logs of the board, one record per line
//
// The value files are not there; they exist only on the board. A board without namespaces also has device/, names and
// velrix-board-preload.so there, while it runs; one with virtual time has clock and velrix-board-preload.so.
//
// A value object, without file access.
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
    std::filesystem::path Clock() const { return root / "clock"; }
    std::filesystem::path NameList() const { return root / "names"; }
    std::filesystem::path PreloadLibrary() const { return root / "velrix-board-preload.so"; }

    // The device's directories that are in the run directory.
    std::vector<Placement> Directories() const;

    // True for a path inside one of these directories.
    static bool IsInDirectories(const std::filesystem::path& inside);

    // The path in the run directory for an absolute path of the device.
    std::filesystem::path Outside(const std::filesystem::path& inside) const;

private:
    std::filesystem::path root;
};

} // namespace VelrixBoard
