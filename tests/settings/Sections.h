// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include <System/Collections/Generic/Dictionary.h>
#include <System/String.h>

namespace TestSupport {

using Section = System::Collections::Generic::Dictionary<System::string_ptr, System::string_ptr>;

// The pairs of one section, as from the parser.
inline std::shared_ptr<Section> MakeSection(std::initializer_list<std::pair<const char*, const char*>> pairs) {
    auto section = Section::Create();
    for (const auto& [key, value] : pairs)
        section->Add(key, value);
    return section;
}

inline std::string TextOf(const System::string_ptr& text) {
    return text ? text->ToUtf8() : "null";
}

// "name=value" of each of the table's string fields, one per line.
template <class Owner, class Fields>
std::string FieldsOf(Owner& owner, const Fields& fields) {
    std::string text;
    for (const auto& [name, field, initial] : fields)
        text += std::string(name) + "=" + TextOf(owner.*field) + "\n";
    return text;
}

// The same with the table's values, except for key.
template <class Fields>
std::string DefaultsBut(const Fields& fields, const std::string& key = {}, const std::string& value = {}) {
    std::string text;
    for (const auto& [name, field, initial] : fields)
        text += std::string(name) + "=" + (name == key ? value : initial) + "\n";
    return text;
}

// The keys of a handler table in their order: "a b c", the empty one as "-".
template <class Table>
std::string KeysOf(Table& table) {
    std::string keys;
    for (const auto& pair : table)
        keys += (keys.empty() ? "" : " ") + (pair.Key->Length() == 0 ? "-" : pair.Key->ToUtf8());
    return keys;
}

template <class Fields>
std::string NamesOf(const Fields& fields) {
    std::string names;
    for (const auto& row : fields)
        names += (names.empty() ? "" : " ") + std::string(row.name);
    return names;
}

} // namespace TestSupport
