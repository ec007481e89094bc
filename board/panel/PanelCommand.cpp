// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelCommand.h"

#include <chrono>
#include <csignal>
#include <map>
#include <optional>

#include <nlohmann/json.hpp>

#include "board/model/Fault.h"

namespace VelrixBoard {

namespace {

using nlohmann::json;

constexpr int BAD_REQUEST = 400;
constexpr int NOT_FOUND = 404;
constexpr int LONGEST_MS = 600'000;

const std::map<std::string, int> SIGNALS = {{"TERM", SIGTERM}, {"INT", SIGINT}, {"HUP", SIGHUP}, {"KILL", SIGKILL}};

json Parse(const std::string& body) {
    return json::parse(body, nullptr, false);
}

json ReadBody(const std::string& body, const char* key) {
    const json value = Parse(body);
    if (!value.is_object() || !value.contains(key))
        throw PanelError(BAD_REQUEST, std::string("the body has to be a JSON object with the key \"") + key + "\"");
    return value[key];
}

std::size_t RequireSignal(const BoardState& state, const std::string& name) {
    if (const auto signal = state.Find(name))
        return *signal;
    throw PanelError(NOT_FOUND, name + " is neither a line nor an LED element of the board");
}

PanelQueue::Work InputCommand(const std::string& name, const std::string& body, const PanelTarget& target) {
    const std::size_t signal = RequireSignal(target.state, name);
    if (const json value = Parse(body); value.is_object() && value.contains("driver")) {
        if (value["driver"] != "module")
            throw PanelError(BAD_REQUEST, "\"driver\" has to be \"module\"");
        return [&target, signal] { target.control.ReleaseInput(signal); };
    }
    const json level = ReadBody(body, "level");
    if (!level.is_boolean())
        throw PanelError(BAD_REQUEST, "\"level\" has to be true or false");
    return [&target, signal, high = level.get<bool>()] { target.control.DriveInput(signal, high, InputDriver::PANEL); };
}

PanelQueue::Work FaultCommand(const std::string& name, const std::string& body, const PanelTarget& target) {
    const std::size_t signal = RequireSignal(target.state, name);
    const json text = ReadBody(body, "fault");
    std::optional<Fault> fault;
    try {
        if (!text.is_null() && text != "none")
            fault = ParseFault(text.get<std::string>());
    } catch (const json::exception&) {
        throw PanelError(BAD_REQUEST, "\"fault\" has to be a text, such as \"EIO\" or \"none\"");
    } catch (const FaultError& error) {
        throw PanelError(BAD_REQUEST, error.what());
    }
    return [&target, signal, fault] { target.control.SetFault(signal, fault); };
}

PanelQueue::Work ModuleCommand(const std::string& body, const PanelTarget& target) {
    const json time = ReadBody(body, "readyAfterMs");
    if (!time.is_null() && (!time.is_number_integer() || time < 0 || time > LONGEST_MS))
        throw PanelError(BAD_REQUEST, "\"readyAfterMs\" has to be a whole number up to 600000, or null");
    std::optional<std::chrono::milliseconds> after;
    if (!time.is_null())
        after = std::chrono::milliseconds(time.get<int>());
    return [&target, after] { target.control.SetOxboReadyAfter(after); };
}

PanelQueue::Work ProgramCommand(const std::string& body, const PanelTarget& target) {
    if (const json value = Parse(body); value.is_object() && value.contains("restart")) {
        if (value["restart"] != true)
            throw PanelError(BAD_REQUEST, "\"restart\" has to be true");
        return [&target] { target.restartProgram(); };
    }
    const json name = ReadBody(body, "signal");
    const auto found = name.is_string() ? SIGNALS.find(name.get<std::string>()) : SIGNALS.end();
    if (found == SIGNALS.end())
        throw PanelError(BAD_REQUEST, "\"signal\" has to be TERM, INT, HUP or KILL");
    return [&target, signal = found->second] { target.signalProgram(signal); };
}

PanelQueue::Work BoardCommand(const std::string& body, const PanelTarget& target) {
    if (ReadBody(body, "end") != true)
        throw PanelError(BAD_REQUEST, "\"end\" has to be true");
    return [&target] { target.endBoard(); };
}

} // namespace

PanelQueue::Work ReadPanelCommand(const std::string& path, const std::string& body, const PanelTarget& target) {
    const std::string inputs = "/inputs/";
    const std::string faults = "/faults/";
    if (path.starts_with(inputs))
        return InputCommand(path.substr(inputs.size()), body, target);
    if (path.starts_with(faults))
        return FaultCommand(path.substr(faults.size()), body, target);
    if (path == "/module")
        return ModuleCommand(body, target);
    if (path == "/program")
        return ProgramCommand(body, target);
    if (path == "/board")
        return BoardCommand(body, target);
    throw PanelError(NOT_FOUND, "there is nothing of that name here");
}

} // namespace VelrixBoard
