// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "board/preload/Protocol.h"

namespace VelrixBoard::Preload {

// A minimal fake of the board's side of the protocol, in a thread: three value files, a few other names, and one log of
// requests. The input follows the LED.
//
// In the given folder: "device" with the empty files of the value files, "share", "conf", "log" (the socket), and the
// list of names.
class StandInBoard final {
public:
    enum File : std::uint32_t { OUTPUT, LED, INPUT, FILES };
    static constexpr const char* OUTPUT_PATH = "/var/dev/gpio-outputs/oxboResetN/value";
    static constexpr const char* LED_PATH = "/sys/class/leds/ledGwStsRed/brightness";
    static constexpr const char* INPUT_PATH = "/var/dev/gpio-inputs/oxboMod1/value";

    explicit StandInBoard(const std::string& folder);
    StandInBoard(const StandInBoard&) = delete;
    StandInBoard& operator=(const StandInBoard&) = delete;
    ~StandInBoard();

    const std::string& List() const { return list; }
    const std::string& Name() const { return name; }

    // Appends a line to the list of names.
    void AddToList(const std::string& line);

    // Answers every request for the file with the error, an open only with ENOENT and EACCES; 0 for none.
    void Break(File file, int error);
    // Does not answer reads and writes of it before they are cancelled. Sets the input high when one is pending.
    void Hold(File file);
    // Changes the level between the answer of the file's n-th read, from 1, and the reader's check of events.
    void ChangeAfterRead(File file, int number);
    // Closes each connection after an answer, or instead of the answer to a write.
    enum class Manner { KEEP, CLOSE_AFTER_ANSWER, CLOSE_FOR_ANSWER };
    void Behave(Manner newManner);

    // The requests in order, separated by spaces: "open.0", "write.0=1", "past.0=1" for a write past the library,
    // "log=TEXT", "reboot=1", "cancel". Without reads, seeks and queries of flags.
    std::string Log();
    // Waits until it has so many entries.
    std::string LogOf(int entries);

private:
    struct Open {
        std::uint32_t file;
        std::uint32_t flags;
        std::int64_t position = 0;
        std::uint64_t seen = 0; // of the file's events
        bool isTold = false;    // an event is pending
        int socket = -1;
    };
    struct Held {
        int conversation;
        Request request;
        std::string text;
    };
    struct State {
        bool level = false;
        int error = 0;
        bool isHeld = false;
        int readsToChange = 0;
        std::uint64_t events = 1;
    };

    void WriteList(const std::string& folder);
    void Run();
    void Dispatch(const std::vector<int>& readable);
    void Serve(int conversation);
    void Take(int conversation, const Request& request, const std::string& text);
    void AnswerOpen(int conversation, const Request& request);
    std::int64_t AnswerTo(Open& open, const Request& request, const std::string& text, std::string& answer);
    std::int64_t WriteValue(Open& open, const Request& request, const std::string& text);
    void Reply(int conversation, std::int64_t result, std::uint64_t event = 0, const std::string& text = "",
               int descriptor = -1);
    void Tell(std::uint32_t file);
    void Drive(std::uint32_t file, bool level);
    void TakePast(std::uint64_t number);
    void Note(const std::string& entry);
    void Wake();

    std::string name;
    std::string list;
    std::mutex mutex;
    std::array<State, FILES> states;
    std::map<std::uint64_t, Open> opens;
    std::vector<int> conversations;
    std::vector<Held> held;
    std::string log;
    int entryCount = 0;
    std::uint64_t nextOpen = 1;
    int listener = -1;
    int logSocket = -1;
    std::array<int, 2> wake{};
    Manner manner = Manner::KEEP;
    bool isOver = false;
    std::thread thread;
};

} // namespace VelrixBoard::Preload
