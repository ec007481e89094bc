// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// What a board and the library that it preloads into its programs say to one another.
//
// The library learns from the environment where the board's list of names is, and from that list which paths are the
// board's. It asks the board for what happens to value files and waits for each answer, so that all of it has one
// order.
namespace VelrixBoard::Preload {

// The environment variable that names the list of names. Without it the library does nothing.
inline constexpr const char* LIST_VARIABLE = "VELRIX_BOARD_NAMES";

// A program that is in the library's process already, such as a test's own code, calls the function of this name, with
// C linkage and no arguments, once that variable is set.
inline constexpr const char* BEGIN_FUNCTION = "velrix_board_preload_begin";

// The list of names: a line each, its fields separated by tabs. Paths are absolute and normal (no ".", "..", "//" or
// slash at the end); one with a tab or a line feed cannot be on the list. The longest name that fits a path wins.
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

// The size that value files show, and the most that one write takes.
inline constexpr std::size_t PAGE = 4096;

// Conversations: a process connects to the board's socket (SOCK_SEQPACKET), sends one request and waits for its answer
// before it sends the next. It may have several connections at once, for its threads.
enum class Operation : std::uint32_t {
    OPEN,   // file, flags: the answer brings the descriptor of an open value file
    READ,   // open, size, offset (or AT_POSITION): the answer's text
    WRITE,  // open, offset (or AT_POSITION), text
    SEEK,   // open, offset, flags (SEEK_SET, SEEK_CUR, SEEK_END): the new position
    STATUS, // open: the flags it was opened with, without those that matter for opening alone
    FLAGS,  // open, flags: O_APPEND is taken over, all others are ignored
    CANCEL, // the request before is not to be waited for any longer. It has no answer of its own: the one to the
            // request comes, -EINTR if it was still waiting
    REBOOT  // flags: 1 a restart, 0 a halt; the reboot system call. The answer may never come
};

inline constexpr std::int64_t AT_POSITION = -1;

// Followed by the text of a write. The board ignores a packet of another size or without the mark.
struct Request {
    static constexpr std::uint32_t MARK = 0x31585600; // begins with a zero byte, which no level does

    std::uint32_t mark = MARK;
    Operation operation;
    std::uint64_t open = 0; // as the name of the descriptor's peer says
    std::int64_t offset = 0;
    std::uint32_t file = 0;
    std::uint32_t flags = 0;
    std::uint32_t size = 0;
    std::uint32_t reserved = 0;
};

// Followed by the text of a read.
struct Answer {
    std::int64_t result = 0; // at least 0, or the negative error number
    std::uint64_t event = 0; // of a read: the number of the latest event that it has seen
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
