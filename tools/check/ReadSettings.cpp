// SPDX-License-Identifier: Apache-2.0
#include "tools/check/ReadSettings.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VelrixTools {

namespace {

class Descriptor final {
public:
    explicit Descriptor(int ownNumber) : number(ownNumber) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0)
            ::close(number);
    }
    int Get() const { return number; }

private:
    const int number;
};

void RequireFile(bool holds) {
    if (!holds)
        throw UnreadableSettings(std::strerror(errno));
}

} // namespace

std::string ReadSettings(const std::string& path) {
    // Not blocking: a FIFO without a writer would hold the command.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    RequireFile(file.Get() >= 0);
    struct stat status {};
    RequireFile(::fstat(file.Get(), &status) == 0);
    if (!S_ISREG(status.st_mode))
        throw UnreadableSettings(S_ISDIR(status.st_mode) ? "it is a directory" : "it is not a regular file");

    std::string text;
    for (std::string block(65536, '\0');;) {
        const ssize_t count = ::read(file.Get(), block.data(), block.size());
        RequireFile(count >= 0);
        if (count == 0)
            return text;
        text.append(block, 0, static_cast<std::size_t>(count));
        if (text.size() > LARGEST_FILE)
            throw UnreadableSettings("it is larger than 16 MB");
    }
}

} // namespace VelrixTools
