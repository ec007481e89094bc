// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TimeChoice.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "board/preload/ProgramCheck.h"
#include "board/sandbox/PreloadLibrary.h"
#include "board/time/ProgramThreads.h"

namespace VelrixBoard {

namespace {

// The file that execvp takes; the name itself if there is none.
std::string FindProgram(const std::string& name) {
    const char* const path = std::getenv("PATH");
    if (name.find('/') != std::string::npos || path == nullptr)
        return name;
    std::istringstream directories(path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string file = (directory.empty() ? "." : directory) + "/" + name;
        if (::access(file.c_str(), X_OK) == 0)
            return file;
    }
    return name;
}

// gcc's sanitizers are libraries of their own, which end a program that has loaded another one before. The thread
// sanitizer has a thread that waits past the board's clock.
bool HasSuchASanitizer(const std::string& program) {
    const FileDescriptor file(::open(program.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return false;
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const content = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.Get(), 0);
    if (content == MAP_FAILED)
        return false;
    bool isFound = false;
    for (const std::string_view name : {"libasan.so", "liblsan.so", "libhwasan.so", "__tsan_init"})
        isFound = isFound || ::memmem(content, size, name.data(), name.size()) != nullptr;
    ::munmap(content, size);
    return isFound;
}

bool IsLoadable(const std::filesystem::path& directory) {
    // A run directory may not be there yet.
    std::filesystem::path existing = std::filesystem::absolute(directory);
    while (existing.has_relative_path() && !std::filesystem::exists(existing))
        existing = existing.parent_path();
    return WhyNotLoadable(std::filesystem::absolute(directory)).empty() && WhyNotLoadable(existing).empty();
}

} // namespace

bool CanSkipTime(const std::string& program, const std::optional<std::filesystem::path>& directory) {
    if (PreloadLibrary().empty() || !ProgramThreads::MissingInProc().empty() ||
        !IsLoadable(directory ? *directory : std::filesystem::temp_directory_path()))
        return false;
    const std::string file = FindProgram(program);
    std::array<char, 512> reason{};
    return Preload::CheckProgram(file.c_str(), reason.data(), reason.size()) == Preload::Refusal::NONE &&
           !HasSuchASanitizer(file);
}

} // namespace VelrixBoard
