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

// The feed of the panel's pages: state and recent history of the board, from the board's event loop to any number of
// readers, one thread per page.
//
// Bounded, for any program and any slow page. Readers have no queues: each has a position in the shared history, and
// gets everything newer in one message. Changes that are too fast to see are merged into a burst, "so many changes from
// here to there".
class PanelFeed final {
public:
    using Time = std::chrono::microseconds; // since the board was started

    enum class Log { WEB, SYSTEM };

    static constexpr std::size_t KEPT_CHANGES = 50'000; // of each signal
    static constexpr std::size_t MOST_AT_ONCE = 2048;   // of these in a message: the newest
    static constexpr std::size_t KEPT_RECORDS = 1000;   // of each log
    static constexpr std::size_t LONGEST_RECORD = 2000; // bytes; records are truncated

    // BURST changes of one signal within BURST_TIME become one burst, which goes on while changes follow within
    // BURST_GAP.
    static constexpr std::size_t BURST = 16;
    static constexpr Time BURST_TIME = std::chrono::milliseconds(16);
    static constexpr Time BURST_GAP = std::chrono::milliseconds(2);

    // One reader's position. A new one starts with a message of the whole state.
    class Reader final {
        friend class PanelFeed;
        std::uint64_t seen = 0;
        bool begun = false;
    };

    // The current time. Any thread.
    using Clock = std::function<Time()>;

    // Each page gets the description, a JSON text, unchanged; the levels are those of all signals by number.
    PanelFeed(std::string boardDescription, const std::vector<bool>& signalLevels, Clock boardClock);

    // For the board's event loop, never blocked by a reader. Readers get the events after the next Publish.
    void Change(std::size_t signal, bool level, Time time);
    void Record(Log log, std::string_view text, Time time);
    // Sets a named part of the state, a JSON text.
    void Status(const std::string& name, std::string json);
    void Publish();

    // Wakes up all readers; they get the rest and then nothing.
    void Close();

    // For a reader's thread: waits for the next message, one line of JSON; empty on a timeout; nothing when the feed is
    // closed.
    std::optional<std::string> Next(Reader& reader, std::chrono::milliseconds longest);

    // For any thread: a message without news, by which a page of a quiet board knows its time.
    std::string TimeMessage();

    // For any thread: the changes of the signal before the one with that id, at most MOST_AT_ONCE, earliest first, as
    // JSON: {"changes": [...], "more": true}. Nothing for an unknown signal.
    std::optional<std::string> Older(std::size_t signal, std::uint64_t before);

    // For any thread: the current levels, a digit per signal; and a named part of the state, "" if there is none.
    std::string Levels();
    std::string StatusOf(const std::string& name);

    // Sleeps, or returns early when the feed is closed.
    void Pause(std::chrono::milliseconds length);

private:
    // One change, or a burst of many. A burst may grow while it is the last entry of its signal.
    struct Entry {
        std::uint64_t version;
        std::uint64_t id; // counts the entries of its signal
        Time begin;
        Time end;
        std::uint64_t count;
        bool level; // after it
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

    // The data of one message: copied under the lock, and serialised, which takes many times longer, without it.
    struct News {
        bool isFirst;
        std::string levels; // a digit for each signal
        std::vector<std::pair<std::size_t, Entry>> changes{};
        std::array<std::vector<LogRecord>, 2> records{};
        std::vector<std::pair<std::string, std::string>> status{};
    };

    bool IsFarBehind(const Reader& reader) const;
    News Since(const Reader& reader) const;
    std::string Message(const News& news) const;
    static void AppendChange(std::string& message, std::size_t number, const Entry& entry);
    static void AppendRecords(std::string& message, const char* name, const std::vector<LogRecord>& records);

    const std::string description;
    const Clock clock;
    std::mutex mutex;
    std::condition_variable wake;
    std::vector<Signal> signals;
    std::array<std::deque<LogRecord>, 2> logs;
    std::array<std::uint64_t, 2> recordCounts{};
    std::map<std::string, StatusPart> status;
    std::uint64_t version = 1;   // of the last event
    std::uint64_t published = 1; // of the last event for readers
    bool closed = false;
};

} // namespace VelrixBoard
