// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace VelrixBoard {

// Files for the root file system of a Linux kernel that is about to boot, in the archive format that kernels unpack
// ("newc" of cpio). The kernel takes several archives one after the other, and a later one adds to what the earlier
// ones made.
class CpioArchive final {
public:
    // All take absolute paths of the machine and make the directories above them.
    void AddDirectory(const std::filesystem::path& path);
    void AddText(const std::filesystem::path& path, std::string_view text);
    void AddProgram(const std::filesystem::path& path, std::string_view content);
    void AddLink(const std::filesystem::path& path, std::string_view target);

    // The file as it is here, readable by all and executable if it is here; throws BoardError when it cannot be read.
    void AddFile(const std::filesystem::path& path, const std::filesystem::path& source);

    // The file, or the whole directory with all that is in it.
    void AddTree(const std::filesystem::path& path, const std::filesystem::path& source);

    // The archive with its end mark.
    std::string Finish() const;

private:
    void Add(const std::filesystem::path& path, unsigned mode, std::string_view content);
    void AddParents(const std::filesystem::path& path);

    std::string data;
    std::set<std::filesystem::path> directories;
};

} // namespace VelrixBoard
