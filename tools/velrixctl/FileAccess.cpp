// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/FileAccess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

using Verdict = Diagnosis::Verdict;

std::string GroupName(gid_t group) {
    const struct group* const entry = ::getgrgid(group);
    return entry == nullptr ? "group " + std::to_string(group) : entry->gr_name;
}

// The folder above that is still there, and the first part that is not.
std::string FirstMissing(const std::string& path) {
    std::filesystem::path found;
    std::error_code error;
    for (const auto& part : std::filesystem::path(path)) {
        if (!std::filesystem::exists(found / part, error))
            return found / part;
        found /= part;
    }
    return path;
}

Diagnosis Missing(Diagnosis diagnosis, const std::string& path) {
    const std::string missing = FirstMissing(path);
    diagnosis.seen = Escaped(missing) + " does not exist";
    diagnosis.meaning = missing == path ? "the library cannot open it" : "the library cannot open " + Escaped(path);
    diagnosis.remedy = "correct the path in the settings file, or find out why the system does not make the file";
    return diagnosis;
}

Diagnosis Forbidden(Diagnosis diagnosis, const std::string& path, AccessMode mode) {
    const char* const verb = mode == AccessMode::READ ? "read" : "write";
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        diagnosis.seen =
            UserName() + " may not look into " + Escaped(std::filesystem::path(path).parent_path().string());
        diagnosis.remedy = "give the user execute permission on that directory";
        return diagnosis;
    }
    const mode_t groupBit = mode == AccessMode::READ ? S_IRGRP : S_IWGRP;
    const bool groupMay = (status.st_mode & groupBit) != 0;
    diagnosis.seen = UserName() + " may not " + verb + " " + Escaped(path);
    diagnosis.seen += groupMay ? "; the group " + GroupName(status.st_gid) + " may"
                               : "; its group " + GroupName(status.st_gid) + " may not either";
    diagnosis.remedy =
        groupMay ? "add the user to the group " + GroupName(status.st_gid)
                 : std::string("let the system's rules give the group ") + verb + " permission, and add the user to it";
    return diagnosis;
}

} // namespace

Diagnosis ExamineFile(const std::string& subject, const std::string& path, AccessMode mode) {
    Diagnosis diagnosis{Verdict::WRONG, subject, "", "the library cannot open it", ""};
    const int file = ::open(path.c_str(), (mode == AccessMode::READ ? O_RDONLY : O_WRONLY) | O_CLOEXEC | O_NONBLOCK);
    const int error = errno;
    struct stat status {};
    if (file >= 0 && ::fstat(file, &status) == 0 && !S_ISDIR(status.st_mode)) {
        ::close(file);
        return {Verdict::GOOD, subject, Escaped(path), "", ""};
    }
    if (file >= 0 || error == EISDIR) {
        if (file >= 0)
            ::close(file);
        diagnosis.seen = Escaped(path) + " is a directory";
        diagnosis.remedy = "name the file in it, such as " + Escaped(path) + "/value";
        return diagnosis;
    }
    if (error == ENOENT || error == ENOTDIR)
        return Missing(diagnosis, path);
    if (error == EACCES || error == EPERM)
        return Forbidden(diagnosis, path, mode);
    diagnosis.seen = Escaped(path) + ": " + std::strerror(error);
    diagnosis.remedy = "look for messages of the driver in the kernel's log (dmesg)";
    return diagnosis;
}

Diagnosis ExamineDirectory(const std::string& subject, const std::string& path) {
    Diagnosis diagnosis{Verdict::WRONG, subject, "", "files cannot be made there", ""};
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        diagnosis.seen = Escaped(path) + ": " + std::strerror(errno);
    else if (!S_ISDIR(status.st_mode))
        diagnosis.seen = Escaped(path) + " is not a directory";
    else if (::access(path.c_str(), W_OK | X_OK) != 0)
        diagnosis.seen =
            UserName() + " may not make files in " + Escaped(path) + "; its group is " + GroupName(status.st_gid);
    else
        return {Verdict::GOOD, subject, Escaped(path), "", ""};
    diagnosis.remedy = S_ISDIR(status.st_mode) ? "give the user or one of its groups write permission"
                                               : "make the directory: mkdir -p " + Escaped(path);
    return diagnosis;
}

std::string FirstLine(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return "";
    constexpr std::size_t LONGEST = 65536; // of an LED's triggers there can be many
    std::string line;
    std::array<char, 4096> text{};
    for (ssize_t count = 1; count > 0 && line.size() < LONGEST;) {
        count = ::read(file, text.data(), text.size());
        line.append(text.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    ::close(file);
    line.erase(std::min(line.find('\n'), line.size()));
    line.erase(line.find_last_not_of(" \t\r") + 1);
    return line;
}

std::string UserName() {
    const struct passwd* const entry = ::getpwuid(::geteuid());
    return entry == nullptr ? "user " + std::to_string(::geteuid()) : entry->pw_name;
}

} // namespace VelrixTools
