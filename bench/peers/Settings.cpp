// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/Jobs.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <System/Collections/Generic/Dictionary.h>

#include <velrix/config/ConfigFile.h>

#include "bench/SettingsText.h"
#include "bench/peers/Contest.h"
#include "bench/peers/Text.h"

namespace Bench {

namespace {

std::shared_ptr<void> ReadOurs(const char* path) {
    return Velrix::ConfigFile::ReadAll(path);
}

// The least that gives names and values: the file in one piece of memory, and where each name and value begins.
struct Pairs {
    std::string text;
    std::vector<std::pair<std::string_view, std::string_view>> pairs;
};

std::shared_ptr<void> ReadLeast(const char* path) {
    auto result = std::make_shared<Pairs>();
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        Fail(path);
    result->text.resize(static_cast<std::size_t>(status.st_size));
    if (::read(descriptor, result->text.data(), result->text.size()) != status.st_size)
        Fail(path);
    ::close(descriptor);
    std::string_view rest = result->text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        const std::size_t sign = line.find('=');
        if (sign != line.npos)
            result->pairs.emplace_back(line.substr(0, sign), line.substr(sign + 1));
    }
    return result;
}

std::vector<Reader> ReadersOf(const std::string& text) {
    std::vector<Reader> readers = {{"ours", &ReadOurs, 0}, {"limit", &ReadLeast, 0}};
    for (const Reader& reader : PeerReaders())
        if (static_cast<long>(text.size()) <= reader.most)
            readers.push_back(reader);
    return readers;
}

void ReadAgainAndAgain(const Job& job, const std::string& text) {
    const TemporaryFile file(text);
    std::vector<Contestant> contestants;
    for (const Reader& reader : ReadersOf(text))
        contestants.push_back({reader.name, [read = reader.read](const std::string& path) {
                                   return [read, path](int times) {
                                       for (int i = 0; i < times; ++i)
                                           read(path.c_str());
                                   };
                               }});
    Run(job, contestants, file.Path());
}

void ReadFirst(const char* job, int lines, int sections) {
    const std::string text = MakeSettings(lines, sections);
    const TemporaryFile file(text);
    RunFirstReads(job, 7, ReadersOf(text), file.Path());
}

} // namespace

void CompareFirstReads() {
    ReadFirst("settings, 16 MB in 12 sections, first time", 540'000, 12);
    ReadFirst("settings, 16 MB in sections of 12 lines, first time", 540'000, 45'000);
}

void CompareSettings() {
    // What a round frees serves the next one, so that the rows below say nothing of the pages that the system gives.
    ::mallopt(M_MMAP_THRESHOLD, 1 << 30);
    ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
    ReadAgainAndAgain({"settings of the device, 34 lines", 60, 40}, MakeSettings(34, 6));
    ReadAgainAndAgain({"settings, 1 MB in 12 sections", 30, 1}, MakeSettings(36'000, 12));
    ReadAgainAndAgain({"settings, 1 MB in sections of 12 lines", 30, 1}, MakeSettings(36'000, 3'000));
}

void CompareLookUps() {
    using System::string_ptr;
    using System::Collections::Generic::Dictionary;

    const Contestant ours{"ours", [](const std::string&) {
                              auto table = Dictionary<string_ptr, string_ptr>::Create();
                              for (const char* key : KEYS)
                                  table->Add(key, "value");
                              return [table](int times) {
                                  for (int i = 0; i < times; ++i)
                                      Use((*table)[Hide(KEYS[2])]);
                              };
                          }};
    const Contestant limit{"limit", [](const std::string&) {
                               std::unordered_map<std::string_view, std::string_view> table;
                               for (const char* key : KEYS)
                                   table.emplace(key, "value");
                               return [table](int times) {
                                   for (int i = 0; i < times; ++i)
                                       Use(table.find(Hide(KEYS[2])));
                               };
                           }};
    Run({"look-up with a literal key", 50, 20'000}, WithPeers("look-up", {ours, limit}));
}

} // namespace Bench
