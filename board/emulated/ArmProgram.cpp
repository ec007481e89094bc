// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ArmProgram.h"

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <sstream>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"

namespace VelrixBoard {

namespace {

// Debian's folder of libraries on the device.
const std::filesystem::path LIBRARIES = "/usr/lib/arm-linux-gnueabihf";

// A file's content, with checked access.
class Bytes final {
public:
    Bytes(std::string ownContent, std::string ownName) : content(std::move(ownContent)), name(std::move(ownName)) {}

    std::size_t Size() const { return content.size(); }

    template <class Record>
    Record At(std::size_t offset) const {
        Record record;
        if (offset > content.size() || content.size() - offset < sizeof record)
            Damaged();
        std::memcpy(&record, content.data() + offset, sizeof record);
        return record;
    }

    std::string TextAt(std::size_t offset) const {
        const std::size_t end = content.find('\0', offset);
        if (offset > content.size() || end == std::string::npos)
            Damaged();
        return content.substr(offset, end - offset);
    }

    [[noreturn]] void Damaged() const { throw BoardError(name + " is damaged"); }

private:
    std::string content;
    std::string name;
};

std::vector<std::string> SplitPath(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ':');)
        parts.push_back(part);
    return parts;
}

std::vector<Elf32_Phdr> Segments(const Bytes& bytes, const Elf32_Ehdr& header) {
    std::vector<Elf32_Phdr> segments;
    for (unsigned i = 0; i < header.e_phnum; ++i)
        segments.push_back(bytes.At<Elf32_Phdr>(header.e_phoff + i * sizeof(Elf32_Phdr)));
    return segments;
}

// The offset in the file of the byte at this address.
std::size_t OffsetOf(const Bytes& bytes, const Elf32_Ehdr& header, Elf32_Addr address) {
    for (const Elf32_Phdr& segment : Segments(bytes, header))
        if (segment.p_type == PT_LOAD && address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz)
            return segment.p_offset + (address - segment.p_vaddr);
    bytes.Damaged();
}

} // namespace

std::optional<ArmObject> ReadArmObject(const std::filesystem::path& file) {
    const Bytes bytes(ReadFile(file), file.native());
    if (bytes.Size() < sizeof(Elf32_Ehdr))
        return std::nullopt;
    const auto header = bytes.At<Elf32_Ehdr>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS32 ||
        header.e_ident[EI_DATA] != ELFDATA2LSB || header.e_machine != EM_ARM)
        return std::nullopt;

    std::optional<Elf32_Addr> strings;
    std::optional<Elf32_Word> runPath;
    std::vector<Elf32_Word> needed;
    for (const Elf32_Phdr& segment : Segments(bytes, header)) {
        if (segment.p_type != PT_DYNAMIC)
            continue;
        for (std::size_t at = segment.p_offset;; at += sizeof(Elf32_Dyn)) {
            const auto entry = bytes.At<Elf32_Dyn>(at);
            if (entry.d_tag == DT_NULL)
                break;
            if (entry.d_tag == DT_STRTAB)
                strings = entry.d_un.d_ptr;
            else if (entry.d_tag == DT_NEEDED)
                needed.push_back(entry.d_un.d_val);
            else if (entry.d_tag == DT_RUNPATH || (entry.d_tag == DT_RPATH && !runPath))
                runPath = entry.d_un.d_val;
        }
    }

    ArmObject object;
    if (needed.empty() && !runPath)
        return object;
    if (!strings)
        bytes.Damaged();
    const std::size_t table = OffsetOf(bytes, header, *strings);
    for (const Elf32_Word name : needed)
        object.needed.push_back(bytes.TextAt(table + name));
    if (runPath)
        object.runPath = SplitPath(bytes.TextAt(table + *runPath));
    return object;
}

std::string ReadLoadedPart(const std::filesystem::path& file) {
    std::string content = ReadFile(file);
    const Bytes bytes(content, file.native());
    auto header = bytes.At<Elf32_Ehdr>(0);
    std::size_t end = std::max(sizeof header, header.e_phoff + header.e_phnum * sizeof(Elf32_Phdr));
    for (const Elf32_Phdr& segment : Segments(bytes, header))
        end = std::max(end, std::size_t{segment.p_offset} + segment.p_filesz);
    if (end > content.size())
        bytes.Damaged();
    header.e_shoff = 0;
    header.e_shnum = 0;
    header.e_shstrndx = 0;
    std::memcpy(content.data(), &header, sizeof header);
    content.resize(end);
    return content;
}

void AddArmProgram(CpioArchive& archive, const std::filesystem::path& program,
                   const std::vector<std::filesystem::path>& folders) {
    struct Placed {
        std::filesystem::path inside;
        std::filesystem::path outside;
    };
    std::vector<Placed> waiting = {{std::filesystem::absolute(program).lexically_normal(), program}};
    std::set<std::filesystem::path> known = {waiting[0].inside};
    while (!waiting.empty()) {
        const Placed placed = waiting.back();
        waiting.pop_back();
        const auto object = ReadArmObject(placed.outside);
        if (!object)
            throw BoardError(placed.outside.native() +
                             " is no 32-bit ARM program; build it for the device, with arm-linux-gnueabihf-g++");
        archive.AddProgram(placed.inside, ReadLoadedPart(placed.outside));

        for (const std::string& name : object->needed) {
            std::vector<Placed> candidates;
            for (std::string folder : object->runPath) {
                const std::string origin = "$ORIGIN";
                if (folder.starts_with(origin))
                    folder.replace(0, origin.size(), placed.inside.parent_path().native());
                const auto path = (std::filesystem::path(folder) / name).lexically_normal();
                candidates.push_back({path, path});
            }
            for (const std::filesystem::path& folder : folders)
                candidates.push_back({LIBRARIES / name, folder / name});
            for (const Placed& candidate : candidates) {
                if (!std::filesystem::exists(candidate.outside))
                    continue;
                if (known.insert(candidate.inside).second)
                    waiting.push_back(candidate);
                break;
            }
        }
    }
}

} // namespace VelrixBoard
