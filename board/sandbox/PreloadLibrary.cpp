// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/PreloadLibrary.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include <sys/statvfs.h>

#include "board/base/BoardError.h"

// Embeds the library in the command, so that the command is one relocatable file.
#ifdef VELRIX_BOARD_PRELOAD_LIBRARY
asm(".section .rodata, \"a\"\n"
    ".balign 16\n"
    ".type velrix_board_preload_library, @object\n"
    "velrix_board_preload_library:\n"
    ".incbin \"" VELRIX_BOARD_PRELOAD_LIBRARY "\"\n"
    ".type velrix_board_preload_library_end, @object\n"
    "velrix_board_preload_library_end:\n"
    ".byte 0\n"
    ".previous\n");

extern const char libraryBegin[] asm("velrix_board_preload_library");
extern const char libraryEnd[] asm("velrix_board_preload_library_end");
#endif

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

constexpr const char* PRELOAD_VARIABLE = "LD_PRELOAD";

// LD_PRELOAD with this board's library first. A nested board drops the outer one's.
std::string WithLibrary(const fs::path& library, const char* others) {
    std::string all = library.string(), word;
    std::istringstream words(others != nullptr ? others : "");
    while (std::getline(words, word, ':'))
        if (!word.empty() && fs::path(word).filename() != library.filename())
            all += ":" + word;
    return all;
}

} // namespace

std::string_view PreloadLibrary() {
#ifdef VELRIX_BOARD_PRELOAD_LIBRARY
    return {libraryBegin, static_cast<std::size_t>(libraryEnd - libraryBegin)};
#else
    return {};
#endif
}

// The dynamic loader splits LD_PRELOAD at blanks and colons.
std::string WhyNotLoadable(const fs::path& directory) {
    if (directory.string().find_first_of(" :") != std::string::npos)
        return "which may have no blank and no colon in it then";
    struct statvfs status {};
    return ::statvfs(directory.c_str(), &status) == 0 && (status.f_flag & ST_NOEXEC) != 0
               ? "where nothing may be executed (noexec)"
               : "";
}

void WriteLibrary(const fs::path& path) {
    const fs::path directory = path.parent_path();
    if (const std::string reason = WhyNotLoadable(directory); !reason.empty())
        throw BoardError("the board preloads a library from " + directory.string() + ", " + reason +
                         "; name another directory with --directory or TMPDIR");
    WriteFile(path, PreloadLibrary(), fs::perms(0755));
}

void PreloadInto(const fs::path& library) {
    ::setenv(PRELOAD_VARIABLE, WithLibrary(library, std::getenv(PRELOAD_VARIABLE)).c_str(), 1);
}

void WriteFile(const fs::path& path, std::string_view content, fs::perms mode) {
    std::ofstream stream(path, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream)
        ThrowSystemError("cannot write " + path.string());
    std::error_code error;
    fs::permissions(path, mode, error);
}

} // namespace VelrixBoard
