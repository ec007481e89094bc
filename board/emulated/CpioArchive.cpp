// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/CpioArchive.h"

#include <cstdio>

#include "board/base/Paths.h"

namespace VelrixBoard {

namespace {

constexpr unsigned DIRECTORY = 0040755;
constexpr unsigned PLAIN = 0100644;
constexpr unsigned EXECUTABLE = 0100755;
constexpr unsigned LINK = 0120777;

// Names and contents are padded to this with zeros.
constexpr std::size_t ALIGNMENT = 4;

void Pad(std::string& data) {
    data.resize((data.size() + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT, '\0');
}

// An entry, as in the kernel's Documentation/driver-api/early-userspace/buffer-format.rst: the magic number and 13
// hexadecimal numbers, the name with its zero, the content. Owner root, time 0; inode numbers matter only for hard
// links.
void Append(std::string& data, std::string_view name, unsigned mode, std::string_view content) {
    char header[111];
    std::snprintf(header, sizeof header, "070701%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X", 0U, mode, 0U, 0U,
                  1U, 0U, static_cast<unsigned>(content.size()), 0U, 0U, 0U, 0U, static_cast<unsigned>(name.size() + 1),
                  0U);
    data += header;
    data += name;
    data += '\0';
    Pad(data);
    data += content;
    Pad(data);
}

} // namespace

void CpioArchive::Add(const std::filesystem::path& path, unsigned mode, std::string_view content) {
    if (const std::filesystem::path parent = path.parent_path(); parent != parent.root_path())
        AddDirectory(parent);
    Append(data, path.relative_path().native(), mode, content);
}

void CpioArchive::AddDirectory(const std::filesystem::path& path) {
    if (directories.insert(path).second)
        Add(path, DIRECTORY, "");
}

void CpioArchive::AddProgram(const std::filesystem::path& path, std::string_view content) {
    Add(path, EXECUTABLE, content);
}

void CpioArchive::AddLink(const std::filesystem::path& path, std::string_view target) {
    Add(path, LINK, target);
}

void CpioArchive::AddFile(const std::filesystem::path& path, const std::filesystem::path& source) {
    const std::string content = ReadFile(source);
    const auto permissions = std::filesystem::status(source).permissions();
    const bool executable = (permissions & std::filesystem::perms::owner_exec) != std::filesystem::perms::none;
    Add(path, executable ? EXECUTABLE : PLAIN, content);
}

void CpioArchive::AddTree(const std::filesystem::path& path, const std::filesystem::path& source) {
    if (!std::filesystem::is_directory(source))
        return AddFile(path, source);
    AddDirectory(path);
    // Sorted, so that the archive is reproducible.
    std::set<std::filesystem::path> entries;
    for (const auto& entry : std::filesystem::directory_iterator(source))
        entries.insert(entry.path());
    for (const auto& entry : entries) {
        const std::filesystem::path inside = path / entry.filename();
        if (std::filesystem::is_symlink(entry))
            AddLink(inside, std::filesystem::read_symlink(entry).native());
        else
            AddTree(inside, entry);
    }
}

std::string CpioArchive::Finish() const {
    std::string archive = data;
    Append(archive, "TRAILER!!!", 0, "");
    return archive;
}

} // namespace VelrixBoard
