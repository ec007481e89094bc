// SPDX-License-Identifier: Apache-2.0
#include <System/String.h>

using System::string_ptr;

bool UseTexts(const string_ptr& text) {
    const string_ptr other = text + "/" + std::string("b") + u"c";
    try {
        return text != other && text != nullptr && nullptr != text && "a" == text && text == u"a" &&
               !(nullptr == text) && std::hash<string_ptr>()(text) == std::hash<string_ptr>()(other) &&
               text->StartsWith("a") && (*other)[0] == u'a';
    } catch (const System::NullReferenceException&) {
        return false;
    } catch (const System::ArgumentOutOfRangeException&) {
        return false;
    }
}
