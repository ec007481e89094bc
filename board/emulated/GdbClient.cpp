// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GdbClient.h"

#include <cerrno>
#include <cstdio>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

// Answers take microseconds; the timeout is for a busy host.
constexpr int ANSWER_LIMIT_MS = 60'000;

// A function's saved registers are within this many bytes above its stack pointer. The kernel's functions that write
// registers have frames of some 30 bytes.
constexpr unsigned FRAME = 256;

constexpr int REGISTER = 4; // bytes

std::string Hexadecimal(std::uint32_t number) {
    char text[9];
    std::snprintf(text, sizeof text, "%x", number);
    return text;
}

// A watchpoint at every access of the bytes there, set or removed.
std::string AccessWatch(char setOrRemove, std::uint32_t address) {
    return setOrRemove + ("4," + Hexadecimal(address) + "," + Hexadecimal(FRAME));
}

// The stack pointer is register 13; the text has all registers in little-endian hexadecimal.
std::uint32_t StackPointer(const std::string& registers) {
    constexpr std::size_t PLACE = std::size_t{13} * REGISTER * 2;
    unsigned bytes[REGISTER];
    if (registers.size() < PLACE ||
        std::sscanf(registers.c_str() + PLACE, "%2x%2x%2x%2x", &bytes[0], &bytes[1], &bytes[2], &bytes[3]) != REGISTER)
        throw BoardError("the emulator's debugger does not tell the stack pointer: " + registers);
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | bytes[3] << 24;
}

// The value of a key: "T05thread:02;watch:f0939000;".
std::string Field(const std::string& text, std::string_view key) {
    const std::size_t found = text.find(key);
    if (found == std::string::npos)
        return "";
    const std::size_t begin = found + key.size();
    return text.substr(begin, text.find(';', begin) - begin);
}

} // namespace

void GdbClient::Send(const std::string& bytes) const {
    if (::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
        ThrowSystemError("the emulator takes no commands of a debugger");
}

void GdbClient::Command(const std::string& text) const {
    unsigned sum = 0;
    for (const char c : text)
        sum += static_cast<unsigned char>(c);
    char end[4];
    std::snprintf(end, sizeof end, "#%02x", sum & 0xff);
    Send("$" + text + end);
}

// The next packet, "$TEXT#SUM", after the acknowledgement of ours. Ignores checksums: the connection is reliable.
std::string GdbClient::Receive() {
    for (;;) {
        const std::size_t begin = received.find('$');
        const std::size_t end = received.find('#');
        if (begin != std::string::npos && end != std::string::npos && received.size() >= end + 3) {
            const std::string text = received.substr(begin + 1, end - begin - 1);
            received.erase(0, end + 3);
            Send("+");
            return text;
        }
        pollfd descriptor = {socket.Get(), POLLIN, 0};
        const int count = ::poll(&descriptor, 1, ANSWER_LIMIT_MS);
        if (count < 0 && errno != EINTR)
            ThrowSystemError("poll");
        if (count == 0)
            throw BoardError("the emulator does not answer its debugger");
        Read();
    }
}

void GdbClient::Read() {
    char buffer[1024];
    const ssize_t length = ::read(socket.Get(), buffer, sizeof buffer);
    if (length == 0 || (length < 0 && errno != EAGAIN))
        throw BoardError("the emulator ended");
    if (length > 0)
        received.append(buffer, static_cast<std::size_t>(length));
}

std::string GdbClient::Ask(const std::string& text) {
    Command(text);
    return Receive();
}

void GdbClient::Order(const std::string& text) {
    const std::string answer = Ask(text);
    if (answer != "OK")
        throw BoardError("the emulator's debugger refused " + text + ": " + answer);
}

GdbClient::Stop GdbClient::ReceiveStop() {
    const std::string text = Receive();
    if (!text.starts_with("T"))
        throw BoardError("the emulator ended, says its debugger: " + text);
    isStopped = true;
    return {Field(text, "thread:"), Field(text, "watch:")};
}

void GdbClient::OrderWatches(char setOrRemove) {
    for (const std::uint32_t address : addresses)
        Order(setOrRemove + ("2," + Hexadecimal(address) + "," + Hexadecimal(REGISTER)));
}

void GdbClient::Watch(const std::vector<std::uint32_t>& newAddresses) {
    const bool ran = !isStopped;
    if (ran) {
        // Interrupts the machine; harmless if it has just stopped by itself.
        Send("\x03");
        ReceiveStop();
    }
    OrderWatches('z');
    addresses = newAddresses;
    OrderWatches('Z');
    if (ran)
        Continue();
}

void GdbClient::FinishWrite() {
    // It may be only the acknowledgement of Continue.
    Read();
    if (received.find('$') == std::string::npos)
        return;
    const Stop stop = ReceiveStop();
    if (stop.address.empty())
        return;

    // The emulator stops before the write. A single step would flush its cache of translated code, which costs a tenth
    // of a second. So only this processor runs, without the watchpoint, until it accesses its stack a few instructions
    // later: at the latest when the writing function pops its return address. Interrupts are off meanwhile.
    OrderWatches('z');
    Order("Hg" + stop.thread);
    const std::uint32_t stack = StackPointer(Ask("g"));
    Order(AccessWatch('Z', stack));
    do
        Command("vCont;c:" + stop.thread);
    while (ReceiveStop().address.empty());
    Order(AccessWatch('z', stack));
    OrderWatches('Z');
}

void GdbClient::Continue() {
    isStopped = false;
    Command("vCont;c");
}

} // namespace VelrixBoard
