// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// The protocol between a board and the library that it preloads into its programs.
//
// An environment variable names the board's list of names, which lists the board's paths. The library sends operations
// on value files to the board and waits for each answer, so that they have a total order.
namespace VelrixBoard::Preload {

// The environment variable with the path of the list of names. Without it the library is inactive.
inline constexpr const char* LIST_VARIABLE = "VELRIX_BOARD_NAMES";

// A program that runs already, such as a test, calls this exported function of the library, without arguments, after
// setting that variable.
inline constexpr const char* BEGIN_FUNCTION = "velrix_board_preload_begin";

// The list of names: one per line, fields separated by tabs. Paths are absolute and normal (no ".", "..", "//" or
// trailing slash), without tabs and line feeds. The longest name that matches a path wins.
//
//     socket  NAME                 the board's abstract socket, without the leading zero byte
//     name    INSIDE  OUTSIDE      what the program knows as INSIDE, and all below it, is at OUTSIDE. OUTSIDE need not
//                                  exist; then the program finds nothing there, and may make it
//     mount   INSIDE  OUTSIDE      the same for what can be neither removed nor renamed, as a mount point
//     cover   INSIDE  OUTSIDE      a directory of the machine that names of the board lie in. A name right in it that
//                                  the machine does not have is the board's: it is at OUTSIDE, or may be made there
//     tree    INSIDE               below INSIDE are value files alone: nothing can be made, removed or changed
//     value   INSIDE  FILE  MODE   a value file and its number; a "name" line says where an empty file lies for what
//                                  asks for its status. MODE is 0644 or 0444, for inputs
//     root                         the program sees itself as user and group 0
namespace List {
inline constexpr const char* SOCKET = "socket";
inline constexpr const char* NAME = "name";
inline constexpr const char* MOUNT = "mount";
inline constexpr const char* COVER = "cover";
inline constexpr const char* TREE = "tree";
inline constexpr const char* VALUE = "value";
inline constexpr const char* ROOT = "root";
} // namespace List

// The st_size of value files, and the largest write.
inline constexpr std::size_t PAGE = 4096;

// A process connects to the board's socket (SOCK_SEQPACKET), sends one request and waits for its answer before the
// next. It may have several connections, for its threads.
enum class Operation : std::uint32_t {
    OPEN,   // file, flags: the answer brings the descriptor of an open value file
    READ,   // open, size, offset (or AT_POSITION): the answer's text
    WRITE,  // open, offset (or AT_POSITION), text
    SEEK,   // open, offset, flags (SEEK_SET, SEEK_CUR, SEEK_END): the new position
    STATUS, // open: the flags it was opened with, without those that matter for opening alone
    FLAGS,  // open, flags: sets O_APPEND, ignores all others
    CANCEL, // the request before is not to be waited for any longer. It has no answer of its own: the one to the
            // request comes, -EINTR if it was still waiting
    REBOOT  // flags: 1 a restart, 0 a halt; the reboot system call. The answer may never come
};

inline constexpr std::int64_t AT_POSITION = -1;

// Followed by the text of a write. The board ignores packets with another size or without the mark.
struct Request {
    static constexpr std::uint32_t MARK = 0x31585600; // begins with a zero byte, unlike any level

    std::uint32_t mark = MARK;
    Operation operation;
    std::uint64_t open = 0; // from the peer name of the descriptor
    std::int64_t offset = 0;
    std::uint32_t file = 0;
    std::uint32_t flags = 0;
    std::uint32_t size = 0;
    std::uint32_t reserved = 0;
};

// Followed by the text of a read.
struct Answer {
    std::int64_t result = 0; // at least 0, or the negative error number
    std::uint64_t event = 0; // of a read: the number of the last event that it has seen
};

// An open value file is one end of a pair of SOCK_SEQPACKET sockets that the board made; the board has the other end,
// whose abstract name is "NAME/FILE/OPEN", NAME being that of the board's socket and the numbers decimal. getpeername
// tells every process, also after exec, what a descriptor is.
//
// A packet that the program sends there, past the library, is a value that it writes; nobody waits for its answer. What
// the board sends there are events: a new level that was not read yet, and first that the file was opened. While one
// waits, poll gives POLLPRI and POLLERR. The board sends no event while one is not yet read (READ); a reader that finds
// one with a greater number than that of its answer reads once more.
struct Event {
    std::uint64_t number = 0;
};

} // namespace VelrixBoard::Preload
