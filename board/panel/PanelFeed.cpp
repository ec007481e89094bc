// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelFeed.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace VelrixBoard {

namespace {

// A JSON string. Programs may log any bytes; ill-formed UTF-8 becomes the replacement character.
std::string Quoted(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Versions are monotonic, so the news are at the end. At most so many: each message is bounded, and a page asks for the
// rest.
template <class Run>
typename Run::const_iterator FirstSince(const Run& run, std::uint64_t seen) {
    const auto oldest = run.size() > PanelFeed::MOST_AT_ONCE
                            ? run.end() - static_cast<std::ptrdiff_t>(PanelFeed::MOST_AT_ONCE)
                            : run.begin();
    auto first = run.end();
    while (first != oldest && (first - 1)->version > seen)
        --first;
    return first;
}

} // namespace

PanelFeed::PanelFeed(std::string boardDescription, const std::vector<bool>& signalLevels, Clock boardClock)
    : description(std::move(boardDescription)), clock(std::move(boardClock)) {
    for (const bool level : signalLevels)
        signals.push_back({level});
}

void PanelFeed::Change(std::size_t signal, bool level, Time time) {
    const std::lock_guard lock(mutex);
    Signal& changed = signals[signal];
    std::deque<Entry>& entries = changed.entries;
    changed.level = level;
    ++version;

    if (!entries.empty() && entries.back().count > 1 && time - entries.back().end <= BURST_GAP) {
        Entry& burst = entries.back();
        burst.version = version;
        burst.end = time;
        ++burst.count;
        burst.level = level;
        return;
    }
    entries.push_back({version, changed.nextId++, time, time, 1, level});
    if (entries.size() >= BURST) {
        const auto first = entries.end() - BURST;
        const bool single = std::all_of(first, entries.end(), [](const Entry& entry) { return entry.count == 1; });
        if (single && time - first->begin <= BURST_TIME) {
            // The burst replaces the first change. A page that has the others drops everything after it.
            *first = {version, first->id, first->begin, time, BURST, level};
            entries.erase(first + 1, entries.end());
        }
    }
    if (entries.size() > KEPT_CHANGES)
        entries.pop_front();
}

void PanelFeed::Record(Log log, std::string_view text, Time time) {
    const std::lock_guard lock(mutex);
    const auto which = static_cast<std::size_t>(log);
    std::string kept(text.substr(0, LONGEST_RECORD));
    if (kept.size() < text.size())
        kept += "...";
    logs[which].push_back({++version, recordCounts[which]++, time, std::move(kept)});
    if (logs[which].size() > KEPT_RECORDS)
        logs[which].pop_front();
}

void PanelFeed::Status(const std::string& name, std::string json) {
    const std::lock_guard lock(mutex);
    status[name] = {++version, std::move(json)};
}

void PanelFeed::Publish() {
    {
        const std::lock_guard lock(mutex);
        if (published == version)
            return;
        published = version;
    }
    wake.notify_all();
}

void PanelFeed::Close() {
    {
        const std::lock_guard lock(mutex);
        published = version;
        closed = true;
    }
    wake.notify_all();
}

std::optional<std::string> PanelFeed::Next(Reader& reader, std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex);
    wake.wait_for(lock, longest, [&] { return closed || !reader.begun || reader.seen < published; });
    if (reader.begun && reader.seen == published)
        return closed ? std::nullopt : std::optional<std::string>("");
    const News news = Since(reader);
    // The news include meanwhile unpublished events.
    published = std::max(published, version);
    reader.seen = version;
    reader.begun = true;
    lock.unlock();
    return Message(news);
}

void PanelFeed::Pause(std::chrono::milliseconds length) {
    std::unique_lock lock(mutex);
    wake.wait_for(lock, length, [&] { return closed; });
}

std::optional<std::string> PanelFeed::Older(std::size_t signal, std::uint64_t before) {
    std::vector<Entry> older;
    bool more = false;
    {
        const std::lock_guard lock(mutex);
        if (signal >= signals.size())
            return std::nullopt;
        const std::deque<Entry>& entries = signals[signal].entries;
        const auto end = std::lower_bound(entries.begin(), entries.end(), before,
                                          [](const Entry& entry, std::uint64_t id) { return entry.id < id; });
        const auto count = std::min(end - entries.begin(), static_cast<std::ptrdiff_t>(MOST_AT_ONCE));
        older.assign(end - count, end);
        more = end - entries.begin() > count;
    }
    std::string text = "{\"changes\":[";
    for (const Entry& entry : older)
        AppendChange(text, signal, entry);
    return text + (more ? "],\"more\":true}" : "],\"more\":false}");
}

std::string PanelFeed::Levels() {
    const std::lock_guard lock(mutex);
    std::string levels;
    for (const Signal& signal : signals)
        levels += signal.level ? '1' : '0';
    return levels;
}

std::string PanelFeed::TimeMessage() {
    return Message({false, Levels()});
}

std::string PanelFeed::StatusOf(const std::string& name) {
    const std::lock_guard lock(mutex);
    const auto found = status.find(name);
    return found == status.end() ? "" : found->second.json;
}

// More news of a signal than a message has.
bool PanelFeed::IsFarBehind(const Reader& reader) const {
    return std::any_of(signals.begin(), signals.end(), [&](const Signal& signal) {
        return signal.entries.size() > MOST_AT_ONCE &&
               signal.entries[signal.entries.size() - MOST_AT_ONCE - 1].version > reader.seen;
    });
}

// A reader that is far behind begins again, so that its page asks for what is between.
PanelFeed::News PanelFeed::Since(const Reader& reader) const {
    const bool isFirst = !reader.begun || IsFarBehind(reader);
    const std::uint64_t seen = isFirst ? 0 : reader.seen;
    News news{isFirst, {}};
    for (std::size_t number = 0; number < signals.size(); ++number) {
        const Signal& signal = signals[number];
        news.levels += signal.level ? '1' : '0';
        for (auto entry = FirstSince(signal.entries, seen); entry != signal.entries.end(); ++entry)
            news.changes.emplace_back(number, *entry);
    }
    for (std::size_t log = 0; log < logs.size(); ++log)
        news.records[log].assign(FirstSince(logs[log], seen), logs[log].end());
    for (const auto& [name, part] : status)
        if (part.version > seen)
            news.status.emplace_back(name, part.json);
    return news;
}

std::string PanelFeed::Message(const News& news) const {
    std::string message = "{\"now\":" + std::to_string(clock().count());
    if (news.isFirst)
        message += ",\"board\":" + description;
    message += ",\"levels\":\"" + news.levels + "\",\"changes\":[";
    for (const auto& [number, entry] : news.changes)
        AppendChange(message, number, entry);
    message += "]";
    AppendRecords(message, "webLog", news.records[static_cast<std::size_t>(Log::WEB)]);
    AppendRecords(message, "systemLog", news.records[static_cast<std::size_t>(Log::SYSTEM)]);
    for (const auto& [name, json] : news.status)
        message += "," + Quoted(name) + ":" + json;
    return message + "}";
}

void PanelFeed::AppendChange(std::string& message, std::size_t number, const Entry& entry) {
    message += message.back() == '[' ? "[" : ",[";
    message += std::to_string(number) + "," + std::to_string(entry.id) + "," + std::to_string(entry.begin.count()) +
               "," + std::to_string(entry.end.count()) + "," + std::to_string(entry.count) +
               (entry.level ? ",1]" : ",0]");
}

void PanelFeed::AppendRecords(std::string& message, const char* name, const std::vector<LogRecord>& records) {
    if (records.empty())
        return;
    message += std::string(",\"") + name + "\":[";
    for (const LogRecord& record : records)
        message += std::string(message.back() == '[' ? "[" : ",[") + std::to_string(record.number) + "," +
                   std::to_string(record.time.count()) + "," + Quoted(record.text) + "]";
    message += "]";
}

} // namespace VelrixBoard
