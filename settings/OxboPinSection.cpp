// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/OxboPinSection.h>

#include <System/CallbackFunc.h>

#include "settings/HandlerTable.h"

namespace Velrix::Settings {

using System::CallbackFunc;
using System::string_ptr;
using System::Collections::Generic::IDictionary;

namespace {

constexpr HandlerRow<OxboPinSection, string_ptr> KEY_ROWS[] = {
    {"irq_n", &Assign<OxboPinSection, &OxboPinSection::irq_n>},
    {"mod_1", &Assign<OxboPinSection, &OxboPinSection::mod_1>},
    {"mod_id_0_sync", &Assign<OxboPinSection, &OxboPinSection::mod_id_0_sync>},
    {"ramloader_enable", &Assign<OxboPinSection, &OxboPinSection::ramloader_enable>},
    {"reset_n", &Assign<OxboPinSection, &OxboPinSection::reset_n>},
};

using KeyHandlers = HandlerTable<OxboPinSection>;

std::shared_ptr<KeyHandlers> CreateKeyHandlers() {
    return CreateHandlers(KEY_ROWS);
}

} // namespace

System::Lazy<std::shared_ptr<KeyHandlers>> OxboPinSection::KEY_HANDLERS{
    CallbackFunc<std::shared_ptr<KeyHandlers>>::Create(&CreateKeyHandlers)};

OxboPinSection::OxboPinSection()
    : irq_n("/var/dev/gpio-inputs/oxboIrqN/value"), mod_1("/var/dev/gpio-inputs/oxboMod1/value"),
      mod_id_0_sync("/var/dev/gpio-inputs/oxboModId0Sync/value"),
      ramloader_enable("/var/dev/gpio-outputs/oxboRamLoaderEnable/value"),
      reset_n("/var/dev/gpio-outputs/oxboResetN/value") {}

OxboPinSection::~OxboPinSection() = default;

std::shared_ptr<OxboPinSection> OxboPinSection::Create() {
    return Own(new OxboPinSection);
}

std::shared_ptr<OxboPinSection>
OxboPinSection::FromSectionDictionary(std::shared_ptr<IDictionary<string_ptr, string_ptr>> section) {
    auto result = Create();
    HandlePairs(result, section);
    return result;
}

} // namespace Velrix::Settings
