// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>

#include <System/CallbackDualArgFunc.h>
#include <System/Collections/Generic/IDictionary.h>
#include <System/String.h>

#include <velrix/settings/HandlerTable.h>

// The mechanism that all settings classes share: a table of names and plain functions becomes a dictionary of handlers
// on first use, and through it each pair of a section finds its way into a field.

namespace Velrix::Settings {

// A null object: ArgumentNullException with the name.
void Require(const void* object, const char* name);

// What a section or a key is called in the file, and the function that takes it in. The rows of a class are its one
// list of names.
template <class Owner, class Argument>
struct HandlerRow {
    const char* name;
    void (*handle)(std::shared_ptr<Owner> owner, Argument argument);
};

// The dictionary of the rows, in their order.
template <class Owner, class Argument, std::size_t COUNT>
std::shared_ptr<HandlerTable<Owner, Argument>> CreateHandlers(const HandlerRow<Owner, Argument> (&rows)[COUNT]) {
    auto handlers = HandlerTable<Owner, Argument>::Create();
    for (const auto& row : rows)
        handlers->Add(row.name,
                      System::CallbackDualArgFunc<std::shared_ptr<Owner>, Argument, void>::Create(row.handle));
    return handlers;
}

// The handler of a key whose value is kept as it is written.
template <class Owner, System::string_ptr Owner::*FIELD>
void Assign(std::shared_ptr<Owner> owner, System::string_ptr value) {
    Require(owner.get(), "owner");
    (*owner).*FIELD = std::move(value);
}

// Gives each pair of the section to the handler of its key, in the order of the file. An unknown key throws, and the
// pairs before it have been taken in by then.
template <class Owner>
void HandlePairs(
    const std::shared_ptr<Owner>& owner,
    const std::shared_ptr<System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>>& section) {
    Require(section.get(), "section");
    auto& handlers = *Owner::KEY_HANDLERS.Value();
    for (const auto& pair : *section)
        handlers[pair.Key]->Invoke(owner, pair.Value);
}

} // namespace Velrix::Settings
