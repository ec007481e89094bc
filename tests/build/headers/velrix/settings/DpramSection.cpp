// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/DpramSection.h>

using System::string_ptr;
using System::Collections::Generic::Dictionary;
using Velrix::Settings::DpramSection;

int UseSection() {
    const auto pairs = Dictionary<string_ptr, string_ptr>::Create();
    pairs->Add("offset", "100");
    try {
        const auto section = DpramSection::FromSectionDictionary(pairs);
        (*DpramSection::KEY_HANDLERS.Value())["length"]->Invoke(section, "2000");
        return section->offset;
    } catch (const System::FormatException&) {
        return -1;
    } catch (const System::OverflowException&) {
        return -2;
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return -3;
    } catch (const System::ArgumentNullException&) {
        return -4;
    } catch (const System::ArgumentOutOfRangeException&) {
        return -5;
    }
}
