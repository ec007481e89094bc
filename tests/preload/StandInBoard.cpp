// SPDX-License-Identifier: Apache-2.0
#include "tests/preload/StandInBoard.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace VelrixBoard::Preload {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t LONGEST_PACKET = 65536;
constexpr std::array<const char*, StandInBoard::FILES> PATHS = {StandInBoard::OUTPUT_PATH, StandInBoard::LED_PATH,
                                                                StandInBoard::INPUT_PATH};
constexpr std::array<int, StandInBoard::FILES> MODES = {0644, 0644, 0444};

// Containers share these names but number their processes alike.
std::string NewName() {
    std::random_device random;
    return "velrix-test-" + std::to_string(random()) + "-" + std::to_string(random());
}

socklen_t Abstract(const std::string& name, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
}

int BoundSocket(int type, const sockaddr_un& address, socklen_t size) {
    const int made = ::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    EXPECT_EQ(::bind(made, reinterpret_cast<const sockaddr*>(&address), size), 0) << std::strerror(errno);
    return made;
}

// At a path of any length.
int BoundLog(const std::string& folder) {
    const int directory = ::open(folder.c_str(), O_PATH | O_CLOEXEC);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(directory) + "/log";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int made = BoundSocket(SOCK_DGRAM, address, sizeof address);
    ::close(directory);
    return made;
}

} // namespace

StandInBoard::StandInBoard(const std::string& folder) : name(NewName()), list(folder + "/names") {
    WriteList(folder);
    sockaddr_un address{};
    const socklen_t size = Abstract(name, address);
    listener = BoundSocket(SOCK_SEQPACKET, address, size);
    EXPECT_EQ(::listen(listener, 64), 0);
    logSocket = BoundLog(folder);
    EXPECT_EQ(::pipe2(wake.data(), O_CLOEXEC | O_NONBLOCK), 0);
    thread = std::thread([this] { Run(); });
}

StandInBoard::~StandInBoard() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    Wake();
    thread.join();
    for (const int conversation : conversations)
        ::close(conversation);
    for (const auto& [number, open] : opens)
        ::close(open.socket);
    for (const int descriptor : {listener, logSocket, wake[0], wake[1]})
        ::close(descriptor);
}

void StandInBoard::WriteList(const std::string& folder) {
    const std::string device = folder + "/device";
    fs::create_directories(device);
    std::ofstream lines(list);
    lines << "socket\t" << name << "\n";
    for (const char* tree : {"/var/dev", "/sys/class/leds"})
        lines << "mount\t" << tree << "\t" << device << tree << "\ntree\t" << tree << "\n";
    for (std::size_t i = 0; i < FILES; ++i) {
        const fs::path file = device + PATHS[i];
        fs::create_directories(file.parent_path());
        std::ofstream(file).flush();
        fs::permissions(file, fs::perms(MODES[i]));
        lines << "value\t" << PATHS[i] << "\t" << i << "\t" << (MODES[i] == 0644 ? "0644" : "0444") << "\n";
    }
    fs::create_directories(folder + "/share");
    for (const char* inside : {"/mnt/share", "/media/share"})
        lines << "mount\t" << inside << "\t" << folder << "/share\n";
    lines << "name\t/etc/velrix.conf\t" << folder << "/conf\n";
    lines << "mount\t/dev/log\t" << folder << "/log\n";
}

void StandInBoard::AddToList(const std::string& line) {
    std::ofstream(list, std::ios::app) << line << "\n";
}

void StandInBoard::Wake() {
    (void)!::write(wake[1], "", 1);
}

void StandInBoard::Drive(std::uint32_t file, bool level) {
    if (states[file].level == level)
        return;
    states[file].level = level;
    ++states[file].events;
    Tell(file);
}

void StandInBoard::Break(File file, int error) {
    const std::lock_guard lock(mutex);
    states[file].error = error;
}

void StandInBoard::Hold(File file) {
    const std::lock_guard lock(mutex);
    states[file].isHeld = true;
}

void StandInBoard::ChangeAfterRead(File file, int number) {
    const std::lock_guard lock(mutex);
    states[file].readsToChange = number;
}

void StandInBoard::Behave(Manner newManner) {
    const std::lock_guard lock(mutex);
    manner = newManner;
}

std::string StandInBoard::Log() {
    const std::lock_guard lock(mutex);
    return log;
}

std::string StandInBoard::LogOf(int entries) {
    using namespace std::chrono_literals;
    const auto until = std::chrono::steady_clock::now() + 20s;
    for (; std::chrono::steady_clock::now() < until; std::this_thread::sleep_for(1ms)) {
        const std::lock_guard lock(mutex);
        if (entryCount >= entries)
            break;
    }
    return Log();
}

void StandInBoard::Note(const std::string& entry) {
    log += log.empty() ? "" : " ";
    for (const char c : entry)
        log += c == '\n' ? std::string("\\n") : std::string(1, c);
    ++entryCount;
}

void StandInBoard::Run() {
    for (;;) {
        std::vector<pollfd> waits = {{wake[0], POLLIN, 0}, {listener, POLLIN, 0}, {logSocket, POLLIN, 0}};
        {
            const std::lock_guard lock(mutex);
            if (isOver)
                return;
            for (const int conversation : conversations)
                waits.push_back({conversation, POLLIN, 0});
            for (const auto& [number, open] : opens)
                waits.push_back({open.socket, POLLIN, 0});
        }
        ::poll(waits.data(), waits.size(), 1000);
        std::vector<int> readable;
        for (const pollfd& wait : waits)
            if (wait.revents != 0)
                readable.push_back(wait.fd);
        Dispatch(readable);
    }
}

void StandInBoard::Dispatch(const std::vector<int>& readable) {
    const std::lock_guard lock(mutex);
    const auto isReadable = [&](int descriptor) {
        return std::find(readable.begin(), readable.end(), descriptor) != readable.end();
    };
    char c = 0;
    while (::read(wake[0], &c, 1) > 0) {
    }
    // Log records sent before a request are dispatched before it.
    std::string record(LONGEST_PACKET, '\0');
    for (ssize_t size = 0; (size = ::recv(logSocket, record.data(), record.size(), 0)) >= 0;)
        Note("log=" + record.substr(0, static_cast<std::size_t>(size)));
    std::vector<std::uint64_t> numbers;
    for (const auto& [number, open] : opens)
        if (isReadable(open.socket))
            numbers.push_back(number);
    for (const std::uint64_t number : numbers)
        TakePast(number);
    for (const int conversation : std::vector<int>(conversations))
        if (isReadable(conversation))
            Serve(conversation);
    if (isReadable(listener))
        if (const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC); accepted >= 0)
            conversations.push_back(accepted);
}

// A packet at the other end of a value file, or its end.
void StandInBoard::TakePast(std::uint64_t number) {
    Open& open = opens.at(number);
    std::string text(LONGEST_PACKET, '\0');
    const ssize_t size = ::recv(open.socket, text.data(), text.size(), MSG_DONTWAIT);
    if (size > 0) {
        text.resize(static_cast<std::size_t>(size));
        Note("past." + std::to_string(open.file) + "=" + text);
        states[open.file].level = text.front() != '0';
    } else if (size == 0) {
        ::close(open.socket);
        opens.erase(number);
    }
}

void StandInBoard::Serve(int conversation) {
    std::string packet(LONGEST_PACKET, '\0');
    const ssize_t size = ::recv(conversation, packet.data(), packet.size(), MSG_DONTWAIT);
    if (size < static_cast<ssize_t>(sizeof(Request))) {
        if (size == 0) {
            ::close(conversation);
            std::erase(conversations, conversation);
            std::erase_if(held, [=](const Held& request) { return request.conversation == conversation; });
        }
        return;
    }
    Request request;
    std::memcpy(&request, packet.data(), sizeof request);
    EXPECT_EQ(request.mark, Request::MARK);
    Take(conversation, request, packet.substr(sizeof request, static_cast<std::size_t>(size) - sizeof request));
}

void StandInBoard::Take(int conversation, const Request& request, const std::string& text) {
    if (request.operation == Operation::CANCEL) {
        Note("cancel");
        const auto waiting =
            std::find_if(held.begin(), held.end(), [=](const Held& h) { return h.conversation == conversation; });
        if (waiting != held.end()) {
            held.erase(waiting);
            Reply(conversation, -EINTR);
        }
        return;
    }
    if (request.operation == Operation::REBOOT) {
        Note("reboot=" + std::to_string(request.flags));
        Reply(conversation, 0);
        return;
    }
    if (request.operation == Operation::OPEN) {
        AnswerOpen(conversation, request);
        return;
    }
    const auto open = opens.find(request.open);
    if (open == opens.end()) {
        Reply(conversation, -EBADF);
        return;
    }
    State& state = states[open->second.file];
    const bool isTransfer = request.operation == Operation::READ || request.operation == Operation::WRITE;
    if (isTransfer && state.isHeld) {
        Note("held." + std::to_string(open->second.file));
        held.push_back({conversation, request, text});
        Drive(INPUT, true);
        return;
    }
    std::string answer;
    const std::int64_t result =
        isTransfer && state.error != 0 ? -state.error : AnswerTo(open->second, request, text, answer);
    const std::uint64_t seen = state.events;
    if (request.operation == Operation::READ && result >= 0 && --state.readsToChange == 0)
        Drive(open->second.file, !state.level);
    if (request.operation == Operation::WRITE && manner == Manner::CLOSE_FOR_ANSWER)
        ::shutdown(conversation, SHUT_RDWR);
    else
        Reply(conversation, result, seen, answer);
}

void StandInBoard::AnswerOpen(int conversation, const Request& request) {
    State& state = states.at(request.file);
    const bool writes = (request.flags & O_ACCMODE) != O_RDONLY;
    if (state.error == ENOENT || state.error == EACCES || (writes && MODES[request.file] == 0444)) {
        Reply(conversation, state.error == ENOENT ? -ENOENT : -EACCES);
        return;
    }
    Note("open." + std::to_string(request.file));
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    const std::uint64_t number = nextOpen++;
    sockaddr_un address{};
    const socklen_t size = Abstract(name + "/" + std::to_string(request.file) + "/" + std::to_string(number), address);
    EXPECT_EQ(::bind(ends[0], reinterpret_cast<const sockaddr*>(&address), size), 0);
    opens[number] = {request.file, request.flags, 0, 0, false, ends[0]};
    Tell(request.file);
    Reply(conversation, 0, 0, "", ends[1]);
    ::close(ends[1]);
}

std::int64_t StandInBoard::AnswerTo(Open& open, const Request& request, const std::string& text, std::string& answer) {
    const std::uint32_t access = open.flags & O_ACCMODE;
    const State& state = states[open.file];
    switch (request.operation) {
    case Operation::READ: {
        if (access == O_WRONLY)
            return -EBADF;
        open.seen = state.events;
        open.isTold = false;
        const std::string whole = state.level ? "1\n" : "0\n";
        const std::int64_t offset = request.offset == AT_POSITION ? open.position : request.offset;
        if (offset < static_cast<std::int64_t>(whole.size()))
            answer = whole.substr(static_cast<std::size_t>(offset), request.size);
        if (request.offset == AT_POSITION)
            open.position += static_cast<std::int64_t>(answer.size());
        return static_cast<std::int64_t>(answer.size());
    }
    case Operation::WRITE:
        return access == O_RDONLY ? -EBADF : WriteValue(open, request, text);
    case Operation::SEEK: {
        const std::int64_t base = request.flags == SEEK_CUR ? open.position : request.flags == SEEK_END ? PAGE : 0;
        if (base + request.offset < 0)
            return -EINVAL;
        return open.position = base + request.offset;
    }
    case Operation::STATUS:
        return open.flags & ~std::uint32_t(O_CREAT | O_TRUNC | O_EXCL | O_CLOEXEC);
    case Operation::FLAGS:
        open.flags = (open.flags & ~std::uint32_t(O_APPEND)) | (request.flags & O_APPEND);
        return 0;
    default:
        return -EINVAL;
    }
}

std::int64_t StandInBoard::WriteValue(Open& open, const Request& request, const std::string& text) {
    Note("write." + std::to_string(open.file) + "=" + (text.size() > 20 ? std::to_string(text.size()) : text));
    if (text.front() != '0' && text.front() != '1')
        return -EINVAL;
    states[open.file].level = text.front() == '1';
    if (open.file == LED)
        Drive(INPUT, text.front() == '1');
    const auto size = static_cast<std::int64_t>(text.size());
    if (request.offset == AT_POSITION)
        open.position = ((open.flags & O_APPEND) != 0 ? static_cast<std::int64_t>(PAGE) : open.position) + size;
    return size;
}

void StandInBoard::Reply(int conversation, std::int64_t result, std::uint64_t event, const std::string& text,
                         int descriptor) {
    Answer answer{result, event};
    std::string copy = text;
    std::array<iovec, 2> parts = {iovec{&answer, sizeof answer}, iovec{copy.data(), copy.size()}};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = 2;
    if (descriptor >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* const part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
    }
    // Before, to exclude a race.
    if (manner == Manner::CLOSE_AFTER_ANSWER)
        ::shutdown(conversation, SHUT_RD);
    (void)::sendmsg(conversation, &message, MSG_NOSIGNAL);
}

// To all open descriptions that have not seen the latest event.
void StandInBoard::Tell(std::uint32_t file) {
    const Event event{states[file].events};
    for (auto& [number, open] : opens)
        if (open.file == file && !open.isTold && open.seen < event.number) {
            (void)::send(open.socket, &event, sizeof event, MSG_DONTWAIT | MSG_NOSIGNAL);
            open.isTold = true;
        }
}

} // namespace VelrixBoard::Preload
