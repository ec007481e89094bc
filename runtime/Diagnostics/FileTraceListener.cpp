// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/FileTraceListener.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <System/Diagnostics/Process.h>
#include <System/Raisers.h>

#include "runtime/Escape.h"
#include "runtime/IO/Open.h"
#include "runtime/IO/RaiseIO.h"
#include "runtime/Threading/Uncancelled.h"
#include "runtime/WallClock.h"

namespace System::Diagnostics {

namespace {

// A record of the usual length is built on the stack.
constexpr std::size_t SHORT_RECORD_SIZE = 1024;

// Everything of a record but the process name and the text: line ends, the time, the level, process and thread, each
// with the slack that a copy of fixed length overwrites.
constexpr std::size_t FRAME_SIZE = 128;

// The kernel cuts the write of a killed process only at a page boundary.
constexpr unsigned PAGE = 4096;

// Absolute, so that a chdir does not change where a rotated file is reopened.
std::string FromRoot(const std::string& path) {
    if (path.starts_with('/'))
        return path;
    const std::unique_ptr<char, void (*)(void*)> folder(::getcwd(nullptr, 0), &std::free);
    return folder && !path.empty() ? folder.get() + ('/' + path) : path;
}

// The level's text in a record, by severity from TraceEventType::DEBUG on.
constexpr struct {
    char text[16];
    std::size_t length;
} LEVELS[] = {{"DEBUG ", 6}, {"INFORMATION ", 12}, {"WARNING ", 8}, {"ERROR ", 6}, {"FATAL ", 6}};

char* WriteNumber(char* target, int number) noexcept {
    return std::to_chars(target, target + 11, number).ptr;
}

// "[1234:1240] ". Cached per thread.
char* WriteIds(char* target, int processId, int threadId) noexcept {
    [[gnu::tls_model("initial-exec")]] static thread_local constinit struct {
        int process = 0; // 0: nothing written yet
        int thread = 0;
        char text[32] = {}; // up to 26 are used
        std::size_t length = 0;
    } last;
    if (last.process != processId || last.thread != threadId) {
        char* end = last.text;
        *end++ = '[';
        end = WriteNumber(end, processId);
        *end++ = ':';
        end = WriteNumber(end, threadId);
        *end++ = ']';
        *end++ = ' ';
        last.length = static_cast<std::size_t>(end - last.text);
        last.process = processId;
        last.thread = threadId;
    }
    std::memcpy(target, last.text, sizeof last.text);
    return target + last.length;
}

} // namespace

// The open file. Lock-free, so that a child forked while another thread traces can trace too: dup3 replaces a rotated
// file atomically under the same descriptor, and the last user closes the descriptor.
struct FileTraceListener::LogFile {
    explicit LogFile(string_ptr ownPath) : path(std::move(ownPath)), name(FromRoot(path->ToUtf8())) {
        AppendEscaped(processName, Process::CURRENT_PROCESS->ProcessName()->View());
        descriptor = OpenForAppending();
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile() { Close(); }

    // False once the file is closed. After true the caller calls EndUse.
    bool BeginUse() noexcept {
        unsigned now = users.load(std::memory_order_relaxed);
        while ((now & CLOSED) == 0)
            if (users.compare_exchange_weak(now, now + USER, std::memory_order_acquire))
                return true;
        return false;
    }
    void EndUse() noexcept {
        if (users.fetch_sub(USER, std::memory_order_acq_rel) == (USER | CLOSED))
            CloseDescriptor();
    }
    void Close() noexcept {
        if (users.fetch_or(CLOSED, std::memory_order_acq_rel) == 0)
            CloseDescriptor();
    }

    // Reopens the path if it leads to another file, or to none.
    void FollowRotation() {
        struct stat current;
        if (::stat(name.c_str(), &current) == 0) {
            if (IsOpen(current) || (LookWhatIsOpen() && IsOpen(current))) {
                if (static_cast<unsigned long long>(current.st_size) % PAGE == 0 && current.st_size != 0) [[unlikely]]
                    tailIsKnown.store(false, std::memory_order_relaxed);
                return;
            }
        } else if (errno != ENOENT) {
            return; // the path may be unreadable, say after dropping privileges; the file is still writable
        }
        GoOnInNewFile();
    }

    // Appends the size bytes that follow a line end, and that line end too if the file needs one.
    void Append(const char* lineEndAndRecord, std::size_t size) {
        if (!tailIsKnown.load(std::memory_order_relaxed))
            return AppendWithCare(lineEndAndRecord, size);
        const char* const record = lineEndAndRecord + 1;
        const ssize_t written = ::write(descriptor, record, size);
        if (written != static_cast<ssize_t>(size))
            AppendRest(record, record + size, written);
    }

    const string_ptr path;
    const std::string name;
    std::string processName;

private:
    // May wait, for the reader of a FIFO, and can be cancelled.
    int OpenForAppending() const { return IO::Open(path, name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY); }

    [[gnu::noinline]] void CloseDescriptor() noexcept {
        const Threading::Uncancelled uncancelled;
        ::close(descriptor);
    }

    bool IsOpen(const struct stat& status) const noexcept {
        return inode.load(std::memory_order_relaxed) == status.st_ino &&
               device.load(std::memory_order_relaxed) == status.st_dev;
    }

    // Remembers the open file's identity. Another thread may replace the file between fstat and the store; therefore
    // check again after the store: the last to store has seen the final file.
    [[gnu::noinline]] bool LookWhatIsOpen() noexcept {
        struct stat open;
        constexpr int MOST_LOOKS = 8;
        for (int look = 0; look < MOST_LOOKS && ::fstat(descriptor, &open) == 0; ++look) {
            if (IsOpen(open))
                return true;
            device.store(open.st_dev, std::memory_order_relaxed);
            inode.store(open.st_ino, std::memory_order_relaxed);
        }
        inode.store(0, std::memory_order_relaxed);
        return false;
    }

    // Two threads may come here at once: then both open the same file, and one descriptor replaces the other.
    [[gnu::noinline]] void GoOnInNewFile() {
        const int fresh = OpenForAppending();
        const Threading::Uncancelled uncancelled;
        const int result = ::dup3(fresh, descriptor, O_CLOEXEC);
        const int error = errno;
        ::close(fresh);
        if (result < 0)
            IO::RaiseIO("Cannot open", path, error);
        tailIsKnown.store(false, std::memory_order_relaxed);
        LookWhatIsOpen();
    }

    [[gnu::noinline]] void AppendWithCare(const char* lineEndAndRecord, std::size_t size) {
        const char* const from = lineEndAndRecord + (EndsInsideLine() ? 0 : 1);
        const char* const end = lineEndAndRecord + 1 + size;
        AppendRest(from, end, ::write(descriptor, from, static_cast<std::size_t>(end - from)));
        tailIsKnown.store(true, std::memory_order_relaxed);
    }

    // Continues after a short or failed first write. That happens only after a signal and on a full disk, which takes a
    // part and gives the reason at the next write.
    [[gnu::noinline]] void AppendRest(const char* from, const char* end, ssize_t written) {
        for (;; written = ::write(descriptor, from, static_cast<std::size_t>(end - from))) {
            if (written > 0) {
                from += written;
                if (from == end)
                    return;
                tailIsKnown.store(false, std::memory_order_relaxed); // the thread may be cancelled in the next write
            } else if (written == 0 || errno != EINTR) {
                const int error = written == 0 ? EIO : errno; // a device that takes 0 bytes would do so for ever
                tailIsKnown.store(false, std::memory_order_relaxed);
                IO::RaiseIO("Cannot write", path, error);
            }
        }
    }

    bool EndsInsideLine() const noexcept {
        const Threading::Uncancelled uncancelled;
        struct stat status;
        if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
            return false;
        // O_NONBLOCK: the path may lead to a FIFO by now.
        const int reader = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (reader < 0)
            return false;
        // The size grows while another process is still copying its record into the file; the search for the end of
        // the data waits for that, so that the last byte is the last one of a record.
        const off_t size = ::lseek(reader, status.st_size - 1, SEEK_HOLE);
        char last = '\n'; // an unreadable file counts as whole
        const bool isRead = size > 0 && ::pread(reader, &last, 1, size - 1) == 1;
        ::close(reader);
        return isRead && last != '\n';
    }

    int descriptor;

    // Which file is open; 0: not known.
    std::atomic<dev_t> device{0};
    std::atomic<ino_t> inode{0};

    // Twice the number of threads that are writing, and CLOSED.
    static constexpr unsigned CLOSED = 1;
    static constexpr unsigned USER = 2;
    std::atomic<unsigned> users{0};

    // Whether the file is known to end with a whole record. A full disk leaves part of one behind, of this process or
    // of another, and so does a process that is killed; the next record must start a new line.
    std::atomic<bool> tailIsKnown{false};
};

std::shared_ptr<FileTraceListener> FileTraceListener::Create(string_ptr path) {
    if (!path)
        _throw_argument_null_exception("path");
    auto file = std::make_unique<LogFile>(std::move(path));
    return Own(new FileTraceListener(std::move(file)));
}

FileTraceListener::FileTraceListener(std::unique_ptr<LogFile> ownFile) noexcept : file(std::move(ownFile)) {}

FileTraceListener::~FileTraceListener() = default;

void FileTraceListener::Close() {
    file->Close();
}

void FileTraceListener::TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs, std::shared_ptr<TraceEventType> eventType,
                                   std::shared_ptr<Object> data) {
    if (!eventArgs)
        _throw_argument_null_exception("eventArgs");
    if (!eventType)
        _throw_argument_null_exception("eventType");
    const string_ptr text = data ? data->ToString() : string_ptr();
    const std::u16string_view units = text ? text->View() : std::u16string_view();
    const auto& level = LEVELS[eventType->Severity()];

    const std::size_t room = FRAME_SIZE + file->processName.size() + units.size() * BYTES_PER_UNIT;
    char shortRecord[SHORT_RECORD_SIZE];
    const std::unique_ptr<char[]> longRecord(room > SHORT_RECORD_SIZE ? new char[room] : nullptr);
    char* const record = longRecord ? longRecord.get() : shortRecord;

    char* end = record;
    *end++ = '\n'; // used only behind a part of a record
    end = WriteDateTime(end, eventArgs->timestamp.Nanoseconds());
    *end++ = ' ';
    std::memcpy(end, level.text, sizeof level.text);
    end += level.length;
    end = std::copy(file->processName.begin(), file->processName.end(), end);
    end = WriteIds(end, eventArgs->ProcessId(), eventArgs->ThreadId());
    end = WriteEscaped(end, units);
    *end++ = '\n';

    if (!file->BeginUse())
        return;
    struct EndOfUse {
        ~EndOfUse() { file.EndUse(); }
        LogFile& file;
    } const endOfUse{*file};
    file->FollowRotation();
    file->Append(record, static_cast<std::size_t>(end - record) - 1);
}

} // namespace System::Diagnostics
