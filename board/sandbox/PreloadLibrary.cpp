// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/PreloadEntry.h"

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

std::string_view PreloadLibrary() {
#ifdef VELRIX_BOARD_PRELOAD_LIBRARY
    return {libraryBegin, static_cast<std::size_t>(libraryEnd - libraryBegin)};
#else
    return {};
#endif
}

} // namespace VelrixBoard
