// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VelrixBoard {

// What the panel's pages are told: the state of the board and what happened lately, on its way from the board's loop to
// any number of readers, each of them a page in a thread of its own.
//
// Everything here has a bound, whatever the program does and however slowly a page reads. A reader has no queue: it has
// a place in the common past, and gets all that is newer in one message. A signal that changes faster than anybody can
// see is kept as a burst, "so many changes from here to there", instead of its single changes.
class PanelFeed final {
public:
    using Time = std::chrono::microseconds; // since the board was started

    enum class Log { WEB, SYSTEM };

    static constexpr std::size_t KEPT_CHANGES = 2048;   // of each signal
    static constexpr std::size_t KEPT_RECORDS = 1000;   // of each log
    static constexpr std::size_t LONGEST_RECORD = 2000; // bytes; the rest of a record is cut off

    // BURST changes of one signal within BURST_TIME become one burst, which goes on while changes follow within
    // BURST_GAP.
    static constexpr std::size_t BURST = 16;
    static constexpr Time BURST_TIME = std::chrono::milliseconds(16);
    static constexpr Time BURST_GAP = std::chrono::milliseconds(2);

    // One reader's place. A new one begins with a message that tells everything.
    class Reader final {
        friend class PanelFeed;
        std::uint64_t seen = 0;
        bool begun = false;
    };

    // Gives the time now, to any thread.
    using Clock = std::function<Time()>;

    // The description, a JSON text, is handed to each page unchanged; the levels are those of all signals by number.
    PanelFeed(std::string boardDescription, const std::vector<bool>& signalLevels, Clock boardClock);

    // For the board's loop. Readers hear of it after the next Publish; none of these waits for a reader.
    void Change(std::size_t signal, bool level, Time time);
    void Record(Log log, std::string_view text, Time time);
    // A part of the state as a JSON text under a name, in place of the one before it.
    void Status(const std::string& name, std::string json);
    void Publish();

    // Ends all waiting; readers get what is left and then nothing.
    void Close();

    // For a reader's thread: the next message, one line of JSON, as soon as there is news; empty when none came in this
    // time; nothing when the feed is closed.
    std::optional<std::string> Next(Reader& reader, std::chrono::milliseconds longest);

    // Waits that long, or until the feed is closed.
    void Pause(std::chrono::milliseconds length);

private:
    // One change, or a burst of many. What a burst holds may grow while it is the last of its signal.
    struct Entry {
        std::uint64_t version;
        std::uint64_t id; // counts the entries of its signal
        Time begin;
        Time end;
        std::uint64_t count;
        bool level; // behind it
    };
    struct Signal {
        bool level;
        std::uint64_t nextId = 0;
        std::deque<Entry> entries{};
    };
    struct LogRecord {
        std::uint64_t version;
        std::uint64_t number;
        Time time;
        std::string text;
    };
    struct StatusPart {
        std::uint64_t version;
        std::string json;
    };

    // What one message is made of. It is copied while the board's loop may have to wait, and made into text, which
    // takes many times longer, when it need not.
    struct News {
        bool isFirst;
        std::string levels; // a digit for each signal
        std::vector<std::pair<std::size_t, Entry>> changes{};
        std::array<std::vector<LogRecord>, 2> records{};
        std::vector<std::pair<std::string, std::string>> status{};
    };

    News Since(const Reader& reader) const;
    std::string Message(const News& news) const;
    static void AppendRecords(std::string& message, const char* name, const std::vector<LogRecord>& records);

    const std::string description;
    const Clock clock;
    std::mutex mutex;
    std::condition_variable wake;
    std::vector<Signal> signals;
    std::array<std::deque<LogRecord>, 2> logs;
    std::array<std::uint64_t, 2> recordCounts{};
    std::map<std::string, StatusPart> status;
    std::uint64_t version = 1;   // of the last thing that happened
    std::uint64_t published = 1; // of the last thing that readers may know
    bool closed = false;
};

} // namespace VelrixBoard
