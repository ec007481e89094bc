// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/SettingsFile.h>

using System::string_ptr;
using System::Collections::Generic::Dictionary;
using Velrix::Settings::SettingsFile;

int UseSettings() {
    const auto pairs = Dictionary<string_ptr, string_ptr>::Create();
    try {
        const auto settings = SettingsFile::INSTANCE.Value();
        (*SettingsFile::SECTION_HANDLERS.Value())["led"]->Invoke(settings, pairs);
        (*SettingsFile::KEY_HANDLERS.Value())["log_dir"]->Invoke(settings, "/tmp");
        return settings->led->module_status_red->Length() + settings->oxbo_dpram->offset;
    } catch (const System::FormatException&) {
        return -1;
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return -2;
    } catch (const System::ArgumentException&) {
        return -3;
    }
}
