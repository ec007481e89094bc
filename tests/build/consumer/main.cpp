// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include <System/Exceptions.h>
#include <System/String.h>

#include <velrix/gpio/LedColorProperty.h>

// Prints one step of an LED. Text comes from libenv, the step from libvelrix; the exception crosses from the one into
// the program, which fails when the library and the program do not agree on its type.
int main() {
    using Velrix::Gpio::LedColorProperty;

    try {
        System::string_ptr none;
        (void)none->ToString();
        return 1;
    } catch (const System::NullReferenceException&) {
    }
    auto step = LedColorProperty::Create(LedColorProperty::GREEN, 250);
    System::string_ptr name = step->Color == LedColorProperty::GREEN ? "green" : "other";
    std::printf("%s, %llu ms\n", (name + ",")->StartsWith(name) ? "green" : "?", step->Duration);
    return 0;
}
