// SPDX-License-Identifier: Apache-2.0
// Any bytes as a settings file. Whatever comes, the reader either gives a dictionary, which is the same again when it
// is written out and read, or throws one of its own exceptions, whose place is really that of the character it names.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include <System/Exceptions.h>

#include <velrix/config/ConfigFile.h>

using Velrix::ConfigFile;

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

class MemoryFile final {
public:
    explicit MemoryFile(std::string_view text) : descriptor(memfd_create("settings", MFD_CLOEXEC)) {
        Require(descriptor >= 0 && write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor); }

    std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
    const int descriptor;
};

// The bytes of a name or a value, which has one in each code unit.
std::string BytesOf(const System::string_ptr& text) {
    std::string bytes;
    for (const char16_t unit : text->View()) {
        Require(unit <= 0xFF);
        bytes += static_cast<char>(unit);
    }
    return bytes;
}

// The dictionary as a settings file, every value in quotes.
template <class Sections>
std::string WriteOut(Sections& sections) {
    std::string text;
    for (const auto& section : sections) {
        const std::string name = BytesOf(section.Key);
        if (!name.empty())
            text += "[" + name + "]\n";
        for (const auto& pair : *section.Value) {
            text += BytesOf(pair.Key) + "=\"";
            for (const char c : BytesOf(pair.Value))
                text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
            text += "\"\n";
        }
    }
    return text;
}

// The unit at line and column as the reader counts them, or -1.
int UnitAt(std::string_view text, int line, int column) {
    int atLine = 0, atColumn = 0;
    for (const char c : text) {
        atColumn = c == '\n' ? 0 : atColumn + 1;
        atLine += c == '\n';
        if (atLine == line && atColumn == column)
            return static_cast<unsigned char>(c);
    }
    return -1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const MemoryFile file(text);
    try {
        const auto sections = ConfigFile::ReadAll(file.Path());
        Require(sections->Count() >= 1 && sections->begin()->Key->Length() == 0);
        const std::string written = WriteOut(*sections);
        const MemoryFile again(written);
        Require(WriteOut(*ConfigFile::ReadAll(again.Path())) == written);
    } catch (const System::FormatException& exception) {
        const std::u16string message(exception.Message()->View());
        constexpr std::u16string_view UNEXPECTED = u"Unexpected char '", AT = u"' at ";
        if (message.compare(0, UNEXPECTED.size(), UNEXPECTED) != 0)
            return 0;
        const std::string place =
            exception.Message()->ToUtf8().substr(exception.Message()->ToUtf8().find("' at ") + AT.size());
        const std::size_t colon = place.find(':');
        Require(UnitAt(text, std::atoi(place.c_str()), std::atoi(place.c_str() + colon + 1)) ==
                message[UNEXPECTED.size()]);
    } catch (const System::ArgumentException& exception) {
        Require(exception.Message() == "Key already exists");
    }
    return 0;
}
