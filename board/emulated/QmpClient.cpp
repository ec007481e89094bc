// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/QmpClient.h"

#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

QmpClient::QmpClient(FileDescriptor connectedSocket) : socket(std::move(connectedSocket)) {
    Send(nlohmann::json{{"execute", "qmp_capabilities"}}.dump());
}

void QmpClient::Send(const std::string& command) {
    // Commands are far smaller than the socket's buffer: a partial write means that the emulator is gone or hangs.
    if (::send(socket.Get(), command.data(), command.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(command.size()))
        ThrowSystemError("the emulator takes no commands");
    ++pending;
}

void QmpClient::SetLine(unsigned line, bool level) {
    const std::string property = "gpio" + std::string(1, static_cast<char>('A' + line / 8)) + std::to_string(line % 8);
    Send(nlohmann::json{{"execute", "qom-set"},
                        {"arguments", {{"path", "/machine/soc/gpio"}, {"property", property}, {"value", level}}}}
             .dump());
}

std::vector<std::string> QmpClient::Dispatch() {
    char buffer[4096];
    ssize_t count = 0;
    while ((count = ::read(socket.Get(), buffer, sizeof buffer)) > 0)
        received.append(buffer, static_cast<std::size_t>(count));

    std::vector<std::string> events;
    for (std::size_t end = 0; (end = received.find('\n')) != std::string::npos; received.erase(0, end + 1)) {
        const auto message = nlohmann::json::parse(received.substr(0, end), nullptr, false);
        if (message.is_discarded())
            throw BoardError("the emulator does not speak QMP");
        if (message.contains("error"))
            throw BoardError("the emulator refused a command: " + message["error"].value("desc", ""));
        if (message.contains("return"))
            --pending;
        if (message.contains("event"))
            events.push_back(message["event"]);
    }
    return events;
}

} // namespace VelrixBoard
