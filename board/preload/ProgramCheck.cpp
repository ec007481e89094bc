// SPDX-License-Identifier: Apache-2.0
#include "board/preload/ProgramCheck.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VelrixBoard::Preload {

namespace {

// The kernel's limit of nested script interpreters.
constexpr int MOST_SCRIPTS = 4;

// The kernel's limit of a script's first line.
constexpr std::size_t SCRIPT_LINE = 256;

constexpr int MOST_HEADERS = 256;

// Compares the end of the loader's path; the C library's loaders have shorter paths.
constexpr std::size_t LONGEST_LOADER = 256;

constexpr const char* STATIC_TEXT =
    "is statically linked; a board that runs without namespaces can only run dynamically linked programs";
constexpr const char* MACHINE_TEXT =
    "is built for another kind of processor; a board that runs without namespaces can only run programs that are built "
    "for this machine";
constexpr const char* ARM_TEXT = "is built for 32-bit ARM; run it with velrix-emulator";
constexpr const char* LOADER_TEXT =
    "is linked with another C library; a board that runs without namespaces can only run programs that use the C "
    "library of this machine";
constexpr const char* PRIVILEGED_TEXT =
    "would get the rights of another user (set-user-ID, set-group-ID or capabilities); a board that runs without "
    "namespaces cannot run it: use a copy without them";

// A file opened for reading by direct system calls, bypassing the caller's hooks.
class File final {
public:
    explicit File(const char* path)
        : descriptor(
              static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (descriptor >= 0)
            ::syscall(SYS_close, descriptor);
    }

    int Descriptor() const { return descriptor; }
    std::size_t Read(void* buffer, std::size_t size, std::uint64_t offset) const {
        const long count = ::syscall(SYS_pread64, descriptor, buffer, size, offset);
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }

private:
    int descriptor;
};

class Text final {
public:
    Text(char* buffer, std::size_t bufferSize) : text(buffer), size(bufferSize) {
        if (size > 0)
            text[0] = '\0';
    }

    void Add(const char* part) {
        while (*part != '\0' && length + 1 < size)
            text[length++] = *part++;
        if (size > 0)
            text[length] = '\0';
    }

private:
    char* text;
    std::size_t size;
    std::size_t length = 0;
};

const char* BaseName(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

// The loader of this process; null when the loader itself was executed.
const char* OwnLoader() {
    const auto* header = reinterpret_cast<const ElfW(Phdr)*>(::getauxval(AT_PHDR));
    const unsigned long count = ::getauxval(AT_PHNUM);
    const char* base = nullptr;
    for (unsigned long i = 0; header != nullptr && i < count; ++i)
        if (header[i].p_type == PT_PHDR)
            base = reinterpret_cast<const char*>(header) - header[i].p_vaddr;
    for (unsigned long i = 0; base != nullptr && i < count; ++i)
        if (header[i].p_type == PT_INTERP)
            return BaseName(base + header[i].p_vaddr);
    return nullptr;
}

ElfW(Half) OwnMachine() {
#if defined(__x86_64__)
    return EM_X86_64;
#elif defined(__aarch64__)
    return EM_AARCH64;
#elif defined(__arm__)
    return EM_ARM;
#else
#error "The machine's number in <elf.h> is missing here"
#endif
}

// Whether the loader would ignore LD_PRELOAD (AT_SECURE), since the process changes its user or group or gains
// capabilities.
bool IsPrivileged(const File& file) {
    struct stat status {};
    if (::syscall(SYS_fstat, file.Descriptor(), &status) != 0)
        return false;
    char capability = 0;
    const long capabilities = ::syscall(SYS_fgetxattr, file.Descriptor(), "security.capability", &capability, 0);
    const auto user = static_cast<uid_t>(::syscall(SYS_getuid));
    const auto group = static_cast<gid_t>(::syscall(SYS_getgid));
    const bool changesUser = (status.st_mode & S_ISUID) != 0 && status.st_uid != user;
    const bool changesGroup = (status.st_mode & (S_ISGID | S_IXGRP)) == (S_ISGID | S_IXGRP) && status.st_gid != group;
    if (!changesUser && !changesGroup && (capabilities <= 0 || user == 0))
        return false;
    struct statfs system {};
    const bool isIgnored = ::syscall(SYS_prctl, PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1 ||
                           (::syscall(SYS_fstatfs, file.Descriptor(), &system) == 0 &&
                            (static_cast<unsigned long>(system.f_flags) & ST_NOSUID) != 0);
    return !isIgnored;
}

Refusal CheckLoader(const File& file, const ElfW(Ehdr) & header, const char* path) {
    const char* const own = OwnLoader();
    for (int i = 0; i < std::min<int>(header.e_phnum, MOST_HEADERS); ++i) {
        ElfW(Phdr) part{};
        const std::uint64_t offset = header.e_phoff + static_cast<std::uint64_t>(i) * header.e_phentsize;
        if (file.Read(&part, sizeof part, offset) != sizeof part)
            return Refusal::NONE;
        if (part.p_type != PT_INTERP)
            continue;
        char loader[LONGEST_LOADER] = {};
        (void)file.Read(loader, std::min<std::size_t>(part.p_filesz, sizeof loader - 1), part.p_offset);
        return own == nullptr || std::strcmp(BaseName(loader), own) == 0 ? Refusal::NONE : Refusal::OTHER_LOADER;
    }
    // The loader itself was executed.
    return own != nullptr && std::strcmp(BaseName(path), own) == 0 ? Refusal::NONE : Refusal::STATIC;
}

Refusal CheckElf(const File& file, const char* path, const char*& text) {
    ElfW(Ehdr) header{};
    if (file.Read(&header, sizeof header, 0) < EI_NIDENT)
        return Refusal::NONE;
    constexpr unsigned char OWN_CLASS = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    text = header.e_ident[EI_CLASS] == ELFCLASS32 && header.e_machine == EM_ARM ? ARM_TEXT : MACHINE_TEXT;
    if (header.e_ident[EI_CLASS] != OWN_CLASS || header.e_machine != OwnMachine())
        return Refusal::OTHER_MACHINE;
    const Refusal refusal = CheckLoader(file, header, path);
    text = refusal == Refusal::STATIC ? STATIC_TEXT : LOADER_TEXT;
    if (refusal != Refusal::NONE || !IsPrivileged(file))
        return refusal;
    text = PRIVILEGED_TEXT;
    return Refusal::PRIVILEGED;
}

// The interpreter in a script's first line; false if there is none.
bool TakeInterpreter(char* line, std::size_t size) {
    if (size < 3 || line[0] != '#' || line[1] != '!')
        return false;
    std::size_t begin = 2;
    while (begin < size && (line[begin] == ' ' || line[begin] == '\t'))
        ++begin;
    std::size_t end = begin;
    while (end < size && std::strchr(" \t\n", line[end]) == nullptr)
        ++end;
    if (end == begin)
        return false;
    std::memmove(line, line + begin, end - begin);
    line[end - begin] = '\0';
    return true;
}

} // namespace

Refusal CheckProgram(const char* path, char* what, std::size_t size) {
    Text message(what, size);
    char line[SCRIPT_LINE + 1];
    const char* program = path;
    for (int i = 0; i <= MOST_SCRIPTS; ++i) {
        const File file(program);
        char begin[SCRIPT_LINE + 1] = {};
        const std::size_t length = file.Read(begin, SCRIPT_LINE, 0);
        if (length >= SELFMAG && std::memcmp(begin, ELFMAG, SELFMAG) == 0) {
            const char* text = "";
            const Refusal refusal = CheckElf(file, program, text);
            if (refusal != Refusal::NONE && program != path) {
                message.Add("is a script for ");
                message.Add(program);
                message.Add(", which ");
            }
            if (refusal != Refusal::NONE)
                message.Add(text);
            return refusal;
        }
        if (!TakeInterpreter(begin, length))
            break;
        std::memcpy(line, begin, sizeof line);
        program = line;
    }
    return Refusal::NONE;
}

} // namespace VelrixBoard::Preload
