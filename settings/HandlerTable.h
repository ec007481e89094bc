// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>

#include <System/CallbackDualArgFunc.h>
#include <System/Collections/Generic/IDictionary.h>
#include <System/String.h>

#include <velrix/settings/HandlerTable.h>

// Shared by all settings classes: builds a dictionary of handlers from a table of names and functions on first use, and
// dispatches each pair of a section to its handler.

namespace Velrix::Settings {

// A null object: ArgumentNullException with the name.
void Require(const void* object, const char* name);

// The name of a section or a key in the file, and its function. A class has no other list of names.
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

// The handler of a key that stores its value unchanged.
template <class Owner, System::string_ptr Owner::*FIELD>
void Assign(std::shared_ptr<Owner> owner, System::string_ptr value) {
    Require(owner.get(), "owner");
    (*owner).*FIELD = std::move(value);
}

// Passes each pair of the section to its key's handler, in file order. An unknown key throws; the pairs before it have
// been applied.
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
