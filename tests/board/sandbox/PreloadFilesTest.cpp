// SPDX-License-Identifier: Apache-2.0
// The server side of the protocol. The test is the client, and runs the server's turns.
#include "board/sandbox/PreloadFiles.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using Preload::Answer;
using Preload::AT_POSITION;
using Preload::Event;
using Preload::Operation;
using Preload::Request;

constexpr const char* OUTPUT = "OXBO_RESET1_N";
constexpr const char* INPUT = "OXBO_MOD_1";

// An answer with its attachments.
struct Received {
    std::int64_t result = 0;
    std::string text;
    std::uint64_t event = 0;
    FileDescriptor descriptor;
};

class Conversation final {
public:
    explicit Conversation(const std::string& name) : socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{AF_UNIX, ""};
        name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        EXPECT_EQ(::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), length), 0);
    }

    void Send(const Request& request, const std::string& text = "") const {
        std::string packet(sizeof request + text.size(), '\0');
        std::memcpy(packet.data(), &request, sizeof request);
        text.copy(packet.data() + sizeof request, text.size());
        EXPECT_EQ(::send(socket.Get(), packet.data(), packet.size(), 0), static_cast<ssize_t>(packet.size()));
    }

    // The result is -1 while there is none; -2 when the board has closed the connection.
    Received Receive() const {
        struct {
            Answer answer;
            char text[ValueFiles::PAGE];
        } packet;
        iovec part{&packet, sizeof packet};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        const ssize_t length = ::recvmsg(socket.Get(), &header, MSG_CMSG_CLOEXEC);
        if (length < static_cast<ssize_t>(sizeof packet.answer))
            return {length < 0 ? -1 : -2, "", 0, {}};
        Received received{packet.answer.result,
                          {packet.text, static_cast<std::size_t>(length) - sizeof packet.answer},
                          packet.answer.event,
                          {}};
        if (const cmsghdr* rights = CMSG_FIRSTHDR(&header)) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(rights), sizeof descriptor);
            received.descriptor = FileDescriptor(descriptor);
        }
        return received;
    }

    void Close() { socket.Close(); }

private:
    FileDescriptor socket;
};

Request Of(Operation operation, std::uint64_t open = 0, std::int64_t offset = 0) {
    Request request;
    request.operation = operation;
    request.open = open;
    request.offset = offset;
    return request;
}

class PreloadFilesTest : public testing::Test {
protected:
    PreloadFilesTest() { state.Add(board); }

    std::uint32_t File(const std::string& signal) const {
        return static_cast<std::uint32_t>(*files.Tree().FileOf(FindSignal(state, signal)));
    }

    Received Ask(const Request& request, const std::string& text = "") {
        conversation.Send(request, text);
        board.Run(now);
        return conversation.Receive();
    }

    Received Open(const std::string& signal, int flags) {
        Request request = Of(Operation::OPEN);
        request.file = File(signal);
        request.flags = static_cast<std::uint32_t>(flags);
        return Ask(request);
    }

    // Like a program.
    static std::uint64_t NumberOf(const Received& opened) {
        sockaddr_un address{};
        socklen_t length = sizeof address;
        EXPECT_EQ(::getpeername(opened.descriptor.Get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
        const std::string name(address.sun_path + 1, length - offsetof(sockaddr_un, sun_path) - 1);
        return std::stoull(name.substr(name.rfind('/') + 1));
    }

    // Keeps the file open until the test ends.
    std::uint64_t Keep(Received opened) {
        kept.push_back(std::move(opened));
        return NumberOf(kept.back());
    }

    Received Read(std::uint64_t open, std::int64_t offset = 0, std::uint32_t size = 16) {
        Request request = Of(Operation::READ, open, offset);
        request.size = size;
        return Ask(request);
    }
    std::int64_t Write(std::uint64_t open, const std::string& text, std::int64_t offset = 0) {
        return Ask(Of(Operation::WRITE, open, offset), text).result;
    }

    // The number of the pending event; 0 for none.
    static std::uint64_t EventAt(const Received& opened) {
        Event event;
        return ::recv(opened.descriptor.Get(), &event, sizeof event, MSG_DONTWAIT) == sizeof event ? event.number : 0;
    }

    const TestSupport::TemporaryFolder folder;
    BoardTime now{};
    BoardModel model;
    BoardState state{model};
    ValueFiles files{state, [this] { return now; }, {}};
    std::string calls;
    PreloadFiles board{
        state, files,
        [this](const std::filesystem::path& inside) { return folder.Path("tree") / inside.relative_path(); },
        [this] { calls += "before "; }, [this](bool restart) { calls += restart ? "restart " : "halt "; }};
    Conversation conversation{board.Name()};
    std::vector<Received> kept;
};

TEST_F(PreloadFilesTest, HasATreeOfNames) {
    struct stat status {};

    ASSERT_EQ(::stat(folder.Path("tree/var/dev/gpio-inputs/oxboMod1/value").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0444);
    ASSERT_EQ(::stat(folder.Path("tree/sys/class/leds/ledGwStsRed/brightness").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0644);
}

TEST_F(PreloadFilesTest, TakesTheNameOfAMissingFileAway) {
    const std::string path = folder.Path("tree/var/dev/gpio-outputs/oxboResetN/value");

    files.SetFault(FindSignal(state, OUTPUT), Fault{Fault::Kind::MISSING});
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(Open(OUTPUT, O_RDONLY).result, -ENOENT);

    files.SetFault(FindSignal(state, OUTPUT), {});
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(Open(OUTPUT, O_RDONLY).result, 0);
}

TEST_F(PreloadFilesTest, OpensReadsAndWrites) {
    const Received opened = Open(OUTPUT, O_RDWR);
    ASSERT_TRUE(opened.descriptor);
    const std::uint64_t open = NumberOf(opened);

    EXPECT_EQ(Read(open).text, "0\n");
    EXPECT_EQ(Write(open, "1\n"), 2);
    EXPECT_EQ(Read(open).text, "1\n");
    EXPECT_EQ(Read(open, 1).text, "\n");
    EXPECT_EQ(Read(open, 2).result, 0);
    EXPECT_EQ(Read(open, 0, 1).text, "1");
    EXPECT_EQ(Write(open, "junk"), -EINVAL);
    EXPECT_EQ(calls, "before before before before before before before before ");
}

TEST_F(PreloadFilesTest, KeepsThePositionAsTheKernelDoes) {
    const std::uint64_t open = Keep(Open(OUTPUT, O_RDWR));
    const struct {
        const char* what;
        Request request;
        const char* text;
        std::int64_t result;
        const char* read;
    } rows[] = {{"reads", Of(Operation::READ, open, AT_POSITION), "", 2, "0\n"},
                {"reads on", Of(Operation::READ, open, AT_POSITION), "", 0, ""},
                {"seeks", Of(Operation::SEEK, open, 1), "", 1, ""},
                {"reads from there", Of(Operation::READ, open, AT_POSITION), "", 1, "\n"},
                {"reads elsewhere", Of(Operation::READ, open, 0), "", 2, "0\n"},
                {"writes at the position", Of(Operation::WRITE, open, AT_POSITION), "1", 1, ""},
                {"writes elsewhere", Of(Operation::WRITE, open, 70), "1", 1, ""},
                {"seeks before the beginning", Of(Operation::SEEK, open, -1), "", -EINVAL, ""}};
    for (auto row : rows) {
        row.request.size = 16;
        const Received answer = Ask(row.request, row.text);
        EXPECT_EQ(answer.result, row.result) << row.what;
        EXPECT_EQ(answer.text, row.read) << row.what;
    }
    Request seek = Of(Operation::SEEK, open);
    seek.flags = SEEK_CUR;
    EXPECT_EQ(Ask(seek).result, 3);
    seek.flags = SEEK_END;
    EXPECT_EQ(Ask(seek).result, 4096);
    seek.flags = 77;
    EXPECT_EQ(Ask(seek).result, -EINVAL);
}

TEST_F(PreloadFilesTest, AppendsBehindThePage) {
    const std::uint64_t open = Keep(Open(OUTPUT, O_RDWR | O_APPEND | O_TRUNC));
    Write(open, "1", AT_POSITION);
    Request seek = Of(Operation::SEEK, open);
    seek.flags = SEEK_CUR;

    EXPECT_EQ(Ask(seek).result, 4097);
    EXPECT_EQ(Ask(Of(Operation::STATUS, open)).result, O_RDWR | O_APPEND);
    Request flags = Of(Operation::FLAGS, open);
    flags.flags = O_NONBLOCK | O_WRONLY;
    EXPECT_EQ(Ask(flags).result, 0);
    EXPECT_EQ(Ask(Of(Operation::STATUS, open)).result, O_RDWR);
}

TEST_F(PreloadFilesTest, RefusesWhatTheKernelRefuses) {
    EXPECT_EQ(Open(INPUT, O_WRONLY).result, -EACCES);
    EXPECT_EQ(Write(Keep(Open(OUTPUT, O_RDONLY)), "1"), -EBADF);
    EXPECT_EQ(Read(Keep(Open(OUTPUT, O_WRONLY))).result, -EBADF);
    EXPECT_EQ(Write(9999, "1"), -EBADF);
    Request nothing = Of(Operation::OPEN);
    for (const std::uint32_t file : {0u, 1u, 9999u}) {
        nothing.file = file;
        EXPECT_EQ(Ask(nothing).result, -ENOENT) << file;
    }
    EXPECT_EQ(Ask(Of(Operation(99), Keep(Open(OUTPUT, O_RDONLY)))).result, -ENOSYS);
}

TEST_F(PreloadFilesTest, TellsANewLevelUntilItIsRead) {
    const Received opened = Open(INPUT, O_RDONLY);
    const std::uint64_t open = NumberOf(opened);
    const std::size_t input = FindSignal(state, INPUT);

    // The event of the open; once, and no more before it was read.
    EXPECT_EQ(EventAt(opened), 1u);
    files.DriveInput(input, true);
    EXPECT_EQ(EventAt(opened), 0u);
    EXPECT_EQ(Read(open).event, 2u);

    files.DriveInput(input, false);
    files.DriveInput(input, true);
    EXPECT_EQ(EventAt(opened), 3u);
    EXPECT_EQ(EventAt(opened), 0u);
    const Received answer = Read(open);
    EXPECT_EQ(answer.text, "1\n");
    EXPECT_EQ(answer.event, 4u);
}

TEST_F(PreloadFilesTest, AnswersForASlowFileLater) {
    files.SetFault(FindSignal(state, OUTPUT), Fault{Fault::Kind::SLOW, 10ms});
    const std::uint64_t open = Keep(Open(OUTPUT, O_RDWR));
    Conversation other(board.Name());

    EXPECT_EQ(Write(open, "1"), -1);
    other.Send(Of(Operation::STATUS, open));
    board.Run(now);
    EXPECT_EQ(other.Receive().result, O_RDWR);

    files.Run(10ms);
    EXPECT_EQ(conversation.Receive().result, 1);
}

TEST_F(PreloadFilesTest, CancelsARequestToASlowFile) {
    files.SetFault(FindSignal(state, OUTPUT), Fault{Fault::Kind::SLOW, 10ms});
    const std::uint64_t open = Keep(Open(OUTPUT, O_RDWR));
    EXPECT_EQ(Write(open, "1"), -1);

    EXPECT_EQ(Ask(Of(Operation::CANCEL)).result, -1);
    files.Run(0ms);

    EXPECT_EQ(conversation.Receive().result, -EINTR);
    // Without a pending request it has neither answer nor effect.
    EXPECT_EQ(Ask(Of(Operation::CANCEL)).result, -1);
    EXPECT_EQ(Ask(Of(Operation::STATUS, open)).result, O_RDWR);
}

TEST_F(PreloadFilesTest, ForgetsARequestOfAProgramThatIsGone) {
    files.SetFault(FindSignal(state, OUTPUT), Fault{Fault::Kind::SLOW, 10ms});
    EXPECT_EQ(Write(Keep(Open(OUTPUT, O_WRONLY)), "1"), -1);

    conversation.Close();
    board.Run(now);
    files.Run(10ms);

    EXPECT_FALSE(state.Level(FindSignal(state, OUTPUT)));
}

TEST_F(PreloadFilesTest, TakesValuesThatComePastTheLibrary) {
    const Received opened = Open(OUTPUT, O_WRONLY), readOnly = Open(OUTPUT, O_RDONLY);
    const std::uint64_t other = Keep(Open("OXBO_RL", O_WRONLY));

    ASSERT_EQ(::write(opened.descriptor.Get(), "1", 1), 1);
    // A later request of another program comes after it, though both are pending.
    EXPECT_EQ(Write(other, "1"), 1);
    ASSERT_EQ(::write(readOnly.descriptor.Get(), "0", 1), 1);
    board.Run(now);

    EXPECT_TRUE(state.Level(FindSignal(state, OUTPUT)));
}

TEST_F(PreloadFilesTest, TakesAValueOfAFileThatIsClosedAtOnce) {
    {
        // With an unread event.
        const Received opened = Open(OUTPUT, O_WRONLY);
        ASSERT_EQ(::write(opened.descriptor.Get(), "1", 1), 1);
    }
    board.Run(now);

    EXPECT_TRUE(state.Level(FindSignal(state, OUTPUT)));
}

TEST_F(PreloadFilesTest, KeepsTheOrderOfAValuePastTheLibraryAndARequestBehindIt) {
    class Order final : public BoardObserver {
    public:
        void OnWrite(std::size_t, bool level, BoardTime) override { levels += level ? "1" : "0"; }
        std::string levels;
    } order;
    state.Add(order);
    const Received opened = Open(OUTPUT, O_WRONLY);
    const std::uint64_t open = NumberOf(opened);

    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(::write(opened.descriptor.Get(), "1", 1), 1);
        EXPECT_EQ(Write(open, "0"), 1);
    }

    EXPECT_EQ(order.levels, "1010101010101010");
}

TEST_F(PreloadFilesTest, EndsAConversationThatItDoesNotUnderstand) {
    Request unmarked = Of(Operation::STATUS);
    unmarked.mark = 1;

    EXPECT_EQ(Ask(unmarked).result, -2);

    EXPECT_EQ(Conversation(board.Name()).Receive().result, -1);
}

TEST_F(PreloadFilesTest, ForgetsAnOpenFileWhenItsLastDescriptorIsClosed) {
    std::uint64_t open = 0;
    {
        const Received opened = Open(OUTPUT, O_RDWR);
        open = NumberOf(opened);
        const FileDescriptor copy(::dup(opened.descriptor.Get()));
        EXPECT_EQ(Ask(Of(Operation::STATUS, open)).result, O_RDWR);
    }

    board.Run(now);

    EXPECT_EQ(Ask(Of(Operation::STATUS, open)).result, -EBADF);
}

TEST_F(PreloadFilesTest, TellsTheRebootSystemCall) {
    Request restart = Of(Operation::REBOOT);
    restart.flags = 1;
    Ask(restart);
    Ask(Of(Operation::REBOOT));

    EXPECT_EQ(calls, "before restart before halt ");
}

TEST_F(PreloadFilesTest, ServesManyConversationsInTurns) {
    const std::uint64_t open = Keep(Open(OUTPUT, O_RDWR));
    std::vector<Conversation> all;
    for (int i = 0; i < 300; ++i) {
        all.emplace_back(board.Name());
        all.back().Send(Of(Operation::STATUS, open));
        if (i % 100 == 99)
            board.Run(now);
    }
    for (int i = 0; i < 20; ++i)
        board.Run(now);

    for (const Conversation& one : all)
        EXPECT_EQ(one.Receive().result, O_RDWR);
}

} // namespace
} // namespace VelrixBoard
