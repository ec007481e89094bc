// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Exceptions.h>
#include <System/String.h>

#include <velrix/gpio/LedColorProperty.h>

// Prints one step of an LED. Uses text of libenv, a step of libvelrix, exceptions across the library boundary, which
// fail when types do not match, and a dictionary instance of the library and one of the program.
int main() {
    using System::string_ptr;
    using System::Collections::Generic::Dictionary;
    using Velrix::Gpio::LedColorProperty;

    try {
        string_ptr none;
        (void)none->ToString();
        return 1;
    } catch (const System::NullReferenceException&) {
    }
    auto texts = Dictionary<string_ptr, string_ptr>::Create();
    auto numbers = Dictionary<int, string_ptr>::Create();
    texts->Add("key", "value");
    numbers->Add(1, "one");
    try {
        (void)((*texts)["key"] != (*numbers)[1] && (*numbers)[2] != nullptr);
        return 1;
    } catch (const System::Collections::Generic::KeyNotFoundException& exception) {
        if (exception.Message() != "2")
            return 1;
    }
    auto step = LedColorProperty::Create(LedColorProperty::GREEN, 250);
    string_ptr name = step->Color == LedColorProperty::GREEN ? "green" : "other";
    std::printf("%s, %llu ms\n", (name + ",")->StartsWith(name) ? "green" : "?", step->Duration);
    return 0;
}
