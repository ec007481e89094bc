// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/Json.h"
#include "tools/velrixctl/StopSignal.h"
#include "tools/velrixctl/WebLogReader.h"

namespace VelrixTools {

namespace {

using Kind = WebLogRecord::Kind;

constexpr std::chrono::milliseconds LOOK_AGAIN(100);
constexpr int BAR_WIDTH = 30;

// Shows records to people. On a terminal the progress of one bar stays in one line, which the next record ends.
class WebLogView final {
public:
    void Show(const WebLogRecord& record) {
        const std::string torn = record.isTorn ? In(Colour::YELLOW, " (the record has no end)") : "";
        if (record.kind == Kind::PERCENTAGE) {
            ShowProgress(record.percentage, torn);
            return;
        }
        if (record.kind == Kind::TITLE)
            title = Escaped(record.text);
        Note(TextOf(record) + torn);
    }

    void Note(const std::string& text) {
        EndBar();
        Print(text + "\n");
    }

    void EndBar() {
        if (std::exchange(isInBar, false))
            Print("\n");
    }

private:
    static std::string TextOf(const WebLogRecord& record) {
        const std::string text = Escaped(record.text);
        switch (record.kind) {
        case Kind::START:
            return In(Colour::BOLD, "start");
        case Kind::END:
            return In(Colour::BOLD, "end");
        case Kind::BREAK:
            return "";
        case Kind::WARNING:
            return In(Colour::YELLOW, "warning: " + text);
        case Kind::ERROR:
            return In(Colour::RED, "error: " + text);
        case Kind::TITLE:
            return In(Colour::BOLD, text);
        case Kind::MESSAGE:
            return text;
        case Kind::PERCENTAGE:
        case Kind::OTHER:
            break;
        }
        return In(Colour::GREY, "unknown record: " + text);
    }

    void ShowProgress(int percentage, const std::string& torn) {
        const std::string number = std::to_string(percentage) + " %";
        if (!IsTerminal()) {
            Print((title.empty() ? "" : title + ": ") + number + torn + "\n");
            return;
        }
        const auto done = static_cast<std::size_t>(percentage * BAR_WIDTH / 100);
        const std::string bar = std::string(done, '#') + std::string(BAR_WIDTH - done, '-');
        Print("\r\x1b[K[" + In(Colour::GREEN, bar) + "] " + number + torn);
        isInBar = true;
    }

    std::string title;
    bool isInBar = false;
};

const char* NameOf(Kind kind) {
    switch (kind) {
    case Kind::START:
        return "start";
    case Kind::END:
        return "end";
    case Kind::BREAK:
        return "break";
    case Kind::MESSAGE:
        return "message";
    case Kind::WARNING:
        return "warning";
    case Kind::ERROR:
        return "error";
    case Kind::TITLE:
        return "title";
    case Kind::PERCENTAGE:
        return "progress";
    case Kind::OTHER:
        break;
    }
    return "unknown";
}

std::string JsonOf(const WebLogRecord& record) {
    Json json = {{"record", NameOf(record.kind)}};
    if (record.kind == Kind::PERCENTAGE)
        json["percentage"] = record.percentage;
    else if (record.kind != Kind::START && record.kind != Kind::END && record.kind != Kind::BREAK)
        json["text"] = record.text;
    if (record.isTorn)
        json["isTorn"] = true;
    return TextOf(json, false) + "\n";
}

// A log that may grow, be truncated, and be replaced by another file of its name.
class FollowedFile final {
public:
    enum class News { NONE, TRUNCATED, REPLACED };

    explicit FollowedFile(const std::string& ownPath) : path(ownPath) {
        if (!Open())
            throw CommandError("cannot read " + Escaped(path) + ": " + std::strerror(errno));
        struct stat status {};
        if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            ::close(descriptor);
            throw CommandError("cannot read " + Escaped(path) + ": it is not a regular file");
        }
        size = static_cast<std::size_t>(status.st_size);
    }
    FollowedFile(const FollowedFile&) = delete;
    FollowedFile& operator=(const FollowedFile&) = delete;
    ~FollowedFile() { ::close(descriptor); }

    // The size when it was opened.
    std::size_t Size() const { return size; }

    // The next bytes, at most so many; empty at the present end.
    std::string Read(std::size_t most = BLOCK) {
        const ssize_t count = ::read(descriptor, block.data(), std::min(most, BLOCK));
        if (count < 0)
            throw CommandError("cannot read " + Escaped(path) + ": " + std::strerror(errno));
        position += count;
        return {block.data(), static_cast<std::size_t>(count)};
    }

    // At the end of the file: whether it goes on elsewhere. A name without a file is waited for.
    News Look() {
        struct stat own {
        }, named{};
        if (::fstat(descriptor, &own) == 0 && own.st_size < position) {
            position = ::lseek(descriptor, 0, SEEK_SET);
            return News::TRUNCATED;
        }
        const bool isOther = ::stat(path.c_str(), &named) == 0 && S_ISREG(named.st_mode) &&
                             (named.st_ino != own.st_ino || named.st_dev != own.st_dev);
        return isOther ? News::REPLACED : News::NONE;
    }

    // Goes on with the file that has the name now.
    void Reopen() {
        const int before = descriptor;
        if (Open())
            ::close(before);
    }

private:
    bool Open() {
        const int opened = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (opened < 0)
            return false;
        descriptor = opened;
        position = 0;
        return true;
    }

    static constexpr std::size_t BLOCK = 65536;

    const std::string path;
    int descriptor = -1;
    off_t position = 0;
    std::size_t size = 0;
    std::array<char, BLOCK> block{};
};

void Follow(FollowedFile& file, WebLogReader& reader, const std::function<void(const std::string&)>& note,
            const Deadline& deadline) {
    const StopSignal stop;
    while (!deadline.HasPassed() && !stop.HasCome()) {
        const std::string bytes = file.Read();
        reader.Read(bytes);
        if (!bytes.empty())
            continue;
        const FollowedFile::News news = file.Look();
        if (news == FollowedFile::News::NONE) {
            stop.Wait(deadline.Left(LOOK_AGAIN));
            continue;
        }
        if (news == FollowedFile::News::REPLACED) {
            // What was appended to the old file after the last look at it.
            for (std::string last = file.Read(); !last.empty() && !stop.HasCome(); last = file.Read())
                reader.Read(last);
            file.Reopen();
        }
        reader.End();
        note(news == FollowedFile::News::TRUNCATED ? "truncated" : "replaced");
    }
}

} // namespace

int RunWebLog(const CommandLine& line) {
    const Deadline deadline(line.Value("--for"));
    if (line.Has("--for") && !line.Has("--follow"))
        throw CommandError("--for needs --follow");
    std::string path = line.Value("FILE");
    if (path.empty())
        path = LoadSettings()->web_log_file->ToUtf8();
    FollowedFile file(path);
    WebLogView view;
    const bool asJson = line.Has("--json");
    WebLogReader reader([&](const WebLogRecord& record) {
        if (asJson)
            Print(JsonOf(record));
        else
            view.Show(record);
    });
    const auto note = [&](const std::string& what) {
        if (asJson)
            Print(TextOf({{"file", what}}, false) + "\n");
        else
            view.Note(In(Colour::GREY, "--- the file was " + what + " ---"));
    };
    if (line.Has("--follow"))
        Follow(file, reader, note, deadline);
    else
        // No further than its present end, however fast it grows.
        for (std::size_t left = file.Size(); left > 0;) {
            const std::string bytes = file.Read(left);
            reader.Read(bytes);
            left = bytes.empty() ? 0 : left - bytes.size();
        }
    reader.End();
    view.EndBar();
    return EXIT_GOOD;
}

} // namespace VelrixTools
