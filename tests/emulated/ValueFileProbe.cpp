// SPDX-License-Identifier: Apache-2.0
//
// A program for a test, not one itself: does to an output, an LED and an input whatever a program may think of doing to
// a file, and prints what came of each. Its output is the same on every board whose value files are as good as the
// kernel's.
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using std::string;

std::string Visible(const string& text) {
    string visible;
    for (const char c : text.substr(0, 24)) {
        if (c == '\n')
            visible += "\\n";
        else if (c == '\0')
            visible += "\\0";
        else
            visible += c;
    }
    return text.size() > 24 ? visible + "... (" + std::to_string(text.size()) + ")" : visible;
}

// What a system call returned: a number, or the error's name.
string Result(long long result) {
    return result < 0 ? strerrorname_np(errno) : std::to_string(result);
}

// What was done and what came of it, step by step: a list's members are made in their order.
void Print(const string& what, std::initializer_list<string> results) {
    std::printf("  %s:", what.c_str());
    for (const string& result : results)
        std::printf(" %s", result.c_str());
    std::puts("");
}

// An open file, or the error of opening it.
class File final {
public:
    File(const string& path, int flags) : descriptor(::open(path.c_str(), flags | O_CLOEXEC, 0600)), error(errno) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { ::close(descriptor); }

    bool IsOpen() const { return descriptor >= 0; }
    string Error() const { return string("not opened, ") + strerrorname_np(error); }

    string Write(const string& text) {
        return IsOpen() ? Result(::write(descriptor, text.data(), text.size())) : Error();
    }
    string WriteAt(const string& text, off_t offset) {
        return IsOpen() ? Result(::pwrite(descriptor, text.data(), text.size(), offset)) : Error();
    }
    string Read(std::size_t size = 100) {
        string text(size, '\0');
        const ssize_t count = IsOpen() ? ::read(descriptor, text.data(), size) : -1;
        return ReadResult(text, count);
    }
    string ReadAt(off_t offset, std::size_t size = 100) {
        string text(size, '\0');
        const ssize_t count = IsOpen() ? ::pread(descriptor, text.data(), size, offset) : -1;
        return ReadResult(text, count);
    }
    string Seek(off_t offset, int whence) { return IsOpen() ? Result(::lseek(descriptor, offset, whence)) : Error(); }

    const int descriptor;

private:
    string ReadResult(string& text, ssize_t count) const {
        if (!IsOpen())
            return Error();
        if (count < 0)
            return Result(count);
        text.resize(static_cast<std::size_t>(count));
        return "\"" + Visible(text) + "\"";
    }

    const int error;
};

string Level(const string& path) {
    return File(path, O_RDONLY).Read();
}

void WriteTexts(const string& path) {
    const std::array<string, 41> texts = {"0",
                                          "1",
                                          "1\n",
                                          "0\n",
                                          "1\n\n",
                                          "\n",
                                          "",
                                          " 1",
                                          "1 ",
                                          "\t1",
                                          "2",
                                          "255",
                                          "256",
                                          "-1",
                                          "-0",
                                          "+1",
                                          "+0",
                                          "--1",
                                          "0x1",
                                          "0X0",
                                          "0x",
                                          "0xg",
                                          "01",
                                          "08",
                                          "1.0",
                                          "1x",
                                          "x",
                                          "on",
                                          "1;0",
                                          string("1\0", 2),
                                          string("1\0x", 3),
                                          string("\0", 1),
                                          "2147483647",
                                          "2147483648",
                                          "-2147483648",
                                          "-2147483649",
                                          "4294967295",
                                          "4294967296",
                                          "18446744073709551616",
                                          string(100, '0') + "1",
                                          string(5000, '0')};
    for (const string& text : texts)
        for (const char* before : {"0", "1"}) {
            (void)File(path, O_WRONLY).Write(before);
            Print("at " + string(before) + " write \"" + Visible(text) + "\"",
                  {File(path, O_WRONLY).Write(text), Level(path)});
        }
}

void WriteElsewhere(const string& path) {
    (void)File(path, O_WRONLY).Write("0");
    {
        File file(path, O_RDWR);
        Print("write and write again", {file.Write("1"), file.Write("0"), Level(path)});
        Print("write at 1", {file.WriteAt("1", 1), Level(path)});
        Print("write at 100", {file.WriteAt("0", 100), Level(path)});
        Print("write at 5000", {file.WriteAt("1", 5000), Level(path)});
        Print("seek to 3 and write", {file.Seek(3, SEEK_SET), file.Write("0"), Level(path)});
        Print("ftruncate", {Result(::ftruncate(file.descriptor, 0)), Level(path)});
        (void)file.Write("1");
        Print("ftruncate to 10", {Result(::ftruncate(file.descriptor, 10)), Level(path)});
        std::array<char, 2> bytes = {'0', '\n'};
        const std::array<iovec, 2> parts = {iovec{&bytes[0], 1}, iovec{&bytes[1], 1}};
        Print("writev", {Result(::writev(file.descriptor, parts.data(), 2)), Level(path)});
        Print("fsync", {Result(::fsync(file.descriptor))});
        Print("fallocate", {Result(::posix_fallocate(file.descriptor, 0, 10) == 0 ? 0 : 1)});
    }
    (void)File(path, O_WRONLY).Write("1");
    Print("open with O_TRUNC", {File(path, O_WRONLY | O_TRUNC).IsOpen() ? "done" : "not done", Level(path)});
    Print("append", {File(path, O_WRONLY | O_APPEND).Write("0"), Level(path)});
    Print("open with O_CREAT", {File(path, O_WRONLY | O_CREAT).IsOpen() ? "done" : "not done", Level(path)});
    Print("truncate", {Result(::truncate(path.c_str(), 0)), Level(path)});
}

void Read(const string& path) {
    File file(path, O_RDONLY);
    Print("read", {file.Read(), file.Read()});
    Print("seek to the start and read", {file.Seek(0, SEEK_SET), file.Read()});
    Print("seek to the end", {file.Seek(0, SEEK_END)});
    Print("read at 0, one byte", {file.ReadAt(0, 1)});
    Print("read at 0, nothing", {file.ReadAt(0, 0)});
    Print("read at 1", {file.ReadAt(1)});
    Print("read at 2", {file.ReadAt(2)});
    Print("read at 5000", {file.ReadAt(5000)});
    Print("write to what is open for reading", {file.Write("1")});
}

void TryTheRest(const string& path) {
    const string folder = path.substr(0, path.rfind('/'));
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        Print("status", {std::string(S_ISREG(status.st_mode) ? "a regular file" : "no regular file") + " of " +
                         std::to_string(status.st_size) + " bytes"});
    Print("make a file that is there", {File(path, O_WRONLY | O_CREAT | O_EXCL).Error()});
    Print("make a file beside it", {File(folder + "/another", O_WRONLY | O_CREAT).IsOpen() ? "done" : "not done"});
    Print("make a folder beside it", {::mkdir((folder + "/another").c_str(), 0700) == 0 ? "done" : "not done"});
    Print("rename it", {::rename(path.c_str(), (folder + "/another").c_str()) == 0 ? "done" : "not done"});
    Print("remove it", {::unlink(path.c_str()) == 0 ? "done" : "not done"});
    Print("then", {Level(path)});
    Print("open as a folder", {File(path, O_RDONLY | O_DIRECTORY).Error()});
    Print("open below it", {File(path + "/x", O_RDONLY).Error()});
}

string IsRefused(const string& result) {
    return std::isdigit(static_cast<unsigned char>(result[0])) ? "accepted" : "refused";
}

void Probe(const string& name, const string& path, bool isOutput) {
    std::puts(name.c_str());
    if (isOutput) {
        WriteTexts(path);
        WriteElsewhere(path);
    } else {
        // Root may open it and is refused the write, others are refused the opening.
        for (const char* text : {"0", "1", "x"})
            Print("write \"" + string(text) + "\"", {IsRefused(File(path, O_WRONLY).Write(text)), Level(path)});
    }
    Read(path);
    TryTheRest(path);
}

} // namespace

int main() {
    Probe("output", "/var/dev/gpio-outputs/qorBootloaderEnableN/value", true);
    Probe("LED", "/sys/class/leds/ledLinkAct1Grn/brightness", true);
    Probe("input", "/var/dev/gpio-inputs/oxboMod1/value", false);
    return 0;
}
