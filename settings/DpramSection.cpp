// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/DpramSection.h>

#include <System/CallbackFunc.h>
#include <System/Convert.h>
#include <System/Raisers.h>

#include "settings/HandlerTable.h"

namespace Velrix::Settings {

using System::CallbackFunc;
using System::string_ptr;
using System::Collections::Generic::IDictionary;

namespace {

// Create's bounds do not apply to the file: an address in the upper half of 32 bits is written "C0000000" and stored as
// a negative number.
int ParseNumber(string_ptr value) {
    return static_cast<int>(System::Convert::ToInt64(std::move(value), 16));
}

constexpr HandlerRow<DpramSection, string_ptr> KEY_ROWS[] = {
    {"length", &DpramSection::HandleLength},
    {"offset", &DpramSection::HandleOffset},
    {"path", &Assign<DpramSection, &DpramSection::path>},
};

using KeyHandlers = HandlerTable<DpramSection>;

std::shared_ptr<KeyHandlers> CreateKeyHandlers() {
    return CreateHandlers(KEY_ROWS);
}

} // namespace

System::Lazy<std::shared_ptr<KeyHandlers>> DpramSection::KEY_HANDLERS{
    CallbackFunc<std::shared_ptr<KeyHandlers>>::Create(&CreateKeyHandlers)};

DpramSection::DpramSection() = default;

DpramSection::~DpramSection() = default;

std::shared_ptr<DpramSection> DpramSection::Create(string_ptr path, int offset, int length) {
    if (!path)
        System::_throw_argument_null_exception("path");
    if (offset < 0)
        System::_throw_not_less_exception(offset, 0, "offset", "zero");
    if (length < 0)
        System::_throw_not_less_exception(length, 0, "length", "zero");
    auto result = Own(new DpramSection);
    result->length = length;
    result->offset = offset;
    result->path = std::move(path);
    return result;
}

std::shared_ptr<DpramSection>
DpramSection::FromSectionDictionary(std::shared_ptr<IDictionary<string_ptr, string_ptr>> section) {
    auto result = Own(new DpramSection);
    HandlePairs(result, section);
    return result;
}

void DpramSection::HandleLength(std::shared_ptr<DpramSection> section, string_ptr value) {
    Require(section.get(), "section");
    section->length = ParseNumber(std::move(value));
}

void DpramSection::HandleOffset(std::shared_ptr<DpramSection> section, string_ptr value) {
    Require(section.get(), "section");
    section->offset = ParseNumber(std::move(value));
}

} // namespace Velrix::Settings
