// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Clock.h"
#include "board/model/BoardModel.h"

namespace VelrixBoard {

// The standard streams that a program prints to.
enum class ProgramStream { OUTPUT, ERRORS };

// An observer of a board: each event does nothing until a derived class overrides it. Called on the board's event
// loop; must neither block nor throw.
class BoardObserver {
public:
    virtual ~BoardObserver() = default;

    // The program wrote a level into a value file. OnChange follows if the level changed.
    virtual void OnWrite(std::size_t, bool, BoardTime) {}

    // A line or an LED element changed its level. The state has the new one already.
    virtual void OnChange(std::size_t, bool, BoardTime) {}

    // All pending events have been delivered; views redraw now, so that they do not show instants.
    virtual void OnSettled(BoardTime) {}

    // The program wrote a line into the web log, called the reboot command, or logged to the system log.
    virtual void OnWebLog(std::string_view, BoardTime) {}
    virtual void OnReboot(std::string_view, BoardTime) {}
    virtual void OnSyslog(std::string_view, BoardTime) {}

    // The program printed this; a line may come in pieces. Only of streams that the board passes on.
    virtual void OnOutput(ProgramStream, std::string_view, BoardTime) {}

    // A fault was injected or removed; the simulated module changed its state. Query IBoardControl for details.
    virtual void OnFault(std::size_t, BoardTime) {}
    virtual void OnModule(BoardTime) {}

    // The program started; it ended, with a wait status. A board may restart it.
    virtual void OnProgramStarted(BoardTime) {}
    virtual void OnProgramEnded(int, BoardTime) {}
};

// The levels of all lines and LED elements of one board, and the stream of their changes.
//
// Signals are numbered: first the model's lines, then its LED elements, each in the model's order. The device's files
// feed Set; views and the simulated module observe. One thread at a time.
class BoardState final {
public:
    explicit BoardState(const BoardModel& boardModel);

    const BoardModel& Model() const { return model; }
    std::size_t Count() const { return levels.size(); }
    bool Level(std::size_t signal) const { return levels[signal]; }
    const std::vector<bool>& Levels() const { return levels; }
    const std::string& Path(std::size_t signal) const;
    bool IsInput(std::size_t signal) const;

    // "OXBO_RL", "MS.green".
    std::string Name(std::size_t signal) const;

    // The signal of that name; nothing for an unknown one.
    std::optional<std::size_t> Find(std::string_view name) const;

    // "off", "green", "red", "yellow", or several joined by "+".
    std::string LedColor(std::string_view led) const;

    // Events reach observers in the order in which they were added. They must outlive the state.
    void Add(BoardObserver& observer) { observers.push_back(&observer); }

    // Tells all observers of an event: Tell(&BoardObserver::OnSettled, time).
    template <class... Parameters, class... Arguments>
    void Tell(void (BoardObserver::*event)(Parameters...), const Arguments&... arguments) const {
        for (BoardObserver* observer : observers)
            (observer->*event)(arguments...);
    }

    // Stores the level; calls OnChange only if it changed. A change that an observer makes in its OnChange, such as the
    // module's answer to its reset, reaches the observers after its cause has reached all of them.
    void Set(std::size_t signal, bool level, BoardTime time);

    // The same for a level that the program wrote; always calls OnWrite.
    void Write(std::size_t signal, bool level, BoardTime time);

private:
    struct Change {
        std::size_t signal;
        bool level;
        BoardTime time;
    };

    const BoardModel& model;
    std::vector<bool> levels;
    std::deque<Change> untold; // the first one is being told
    std::vector<BoardObserver*> observers;
};

// The signal of that name. Throws BoardError that names those there are.
std::size_t FindSignal(const BoardState& state, std::string_view name);

} // namespace VelrixBoard
