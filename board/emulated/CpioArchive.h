// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace VelrixBoard {

// An initramfs archive for a Linux kernel, in the cpio format "newc". The kernel unpacks concatenated archives one
// after the other.
class CpioArchive final {
public:
    // Paths are absolute paths of the machine; missing parent directories are added.
    void AddDirectory(const std::filesystem::path& path);
    void AddProgram(const std::filesystem::path& path, std::string_view content);
    void AddLink(const std::filesystem::path& path, std::string_view target);

    // A file of this machine, readable by all, executable if it is here. Throws BoardError when it cannot be read.
    void AddFile(const std::filesystem::path& path, const std::filesystem::path& source);

    // A file, or a directory with everything in it.
    void AddTree(const std::filesystem::path& path, const std::filesystem::path& source);

    // The archive with its end mark.
    std::string Finish() const;

private:
    void Add(const std::filesystem::path& path, unsigned mode, std::string_view content);

    std::string data;
    std::set<std::filesystem::path> directories;
};

} // namespace VelrixBoard
