// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/QorPinSection.h>

#include <System/CallbackFunc.h>

#include "settings/HandlerTable.h"

namespace Velrix::Settings {

using System::CallbackFunc;
using System::string_ptr;
using System::Collections::Generic::IDictionary;

namespace {

constexpr HandlerRow<QorPinSection, string_ptr> KEY_ROWS[] = {
    {"bootloader_enable_n", &Assign<QorPinSection, &QorPinSection::bootloader_enable_n>},
    {"busy_n", &Assign<QorPinSection, &QorPinSection::busy_n>},
    {"irq_n", &Assign<QorPinSection, &QorPinSection::irq_n>},
    {"reset_n", &Assign<QorPinSection, &QorPinSection::reset_n>},
};

using KeyHandlers = HandlerTable<QorPinSection>;

std::shared_ptr<KeyHandlers> CreateKeyHandlers() {
    return CreateHandlers(KEY_ROWS);
}

} // namespace

System::Lazy<std::shared_ptr<KeyHandlers>> QorPinSection::KEY_HANDLERS{
    CallbackFunc<std::shared_ptr<KeyHandlers>>::Create(&CreateKeyHandlers)};

QorPinSection::QorPinSection()
    : bootloader_enable_n("/var/dev/gpio-outputs/qorBootloaderEnableN/value"),
      busy_n("/var/dev/gpio-inputs/qorDpramBusyN/value"), irq_n("/var/dev/gpio-inputs/qorDpramIrqN/value"),
      reset_n("/var/dev/gpio-outputs/qorResetN/value") {}

QorPinSection::~QorPinSection() = default;

std::shared_ptr<QorPinSection> QorPinSection::Create() {
    return Own(new QorPinSection);
}

std::shared_ptr<QorPinSection>
QorPinSection::FromSectionDictionary(std::shared_ptr<IDictionary<string_ptr, string_ptr>> section) {
    auto result = Create();
    HandlePairs(result, section);
    return result;
}

} // namespace Velrix::Settings
