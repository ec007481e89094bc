// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/IdentityFiles.h"

#include <cstring>

#include <System/Collections/Generic/Array.h>
#include <System/Convert.h>
#include <System/IO/File.h>
#include <System/IO/Path.h>

#include <velrix/identity/Version.h>

#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

using System::string_ptr;

// Throw as the library does for a wrong text.
void ReadSerialNumber(const string_ptr& text) {
    (void)System::Convert::ToUInt64(text, 16);
}

void ReadProductVersion(const string_ptr& text) {
    (void)Velrix::Version::FromString(text, "v", '.');
}

void ReadHardware(const string_ptr& text) {
    const auto words = text->Split(" ");
    if (words->Length() != 2)
        throw System::FormatException();
    (void)Velrix::Version::FromString((*words)[1], nullptr, '.');
}

struct Row {
    const char* name;
    void (*read)(const string_ptr& text);
    const char* form;
    const char* example;
};

constexpr Row ROWS[] = {
    {"serialnumber.product", &ReadSerialNumber, "a hexadecimal number of up to 16 digits", "1a2b3c4d"},
    {"version.product", &ReadProductVersion, "\"v\" and three numbers with dots", "v2.1.0"},
    {"hwrevision", &ReadHardware, "a name, one blank and three numbers with dots", "'mainboard 3.0.1'"},
};

std::string RemedyOf(const Row& row, const std::string& path) {
    return std::string("printf ") + row.example + " > " + path;
}

IdentityFile ReadOne(const Row& row, const string_ptr& folder) {
    const string_ptr path = System::IO::Path::Combine(folder, row.name);
    IdentityFile file{Escaped(path->ToUtf8()), "", "", ""};
    try {
        const string_ptr text = System::IO::File::ReadAllText(path);
        file.content = Escaped(text->ToUtf8());
        row.read(text);
    } catch (const System::IO::IOException& failure) {
        file.wrong = std::strerror(failure.ErrorCode());
        file.remedy = RemedyOf(row, file.path);
    } catch (const System::Exception&) {
        const bool hasLineEnd = file.content.ends_with("\\n");
        file.wrong = "holds \"" + file.content + "\" and not " + row.form +
                     (hasLineEnd ? "; nothing may follow, no line end either" : "");
        file.remedy = RemedyOf(row, file.path) + (hasLineEnd ? " (printf adds no line end, unlike echo)" : "");
    }
    return file;
}

} // namespace

std::vector<IdentityFile> ReadIdentityFiles(const Velrix::Settings::SettingsFile& settings) {
    std::vector<IdentityFile> files;
    for (const Row& row : ROWS)
        files.push_back(ReadOne(row, settings.system_config_dir));
    return files;
}

} // namespace VelrixTools
