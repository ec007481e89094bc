// SPDX-License-Identifier: Apache-2.0
#include <System/Convert.h>

using System::Convert;
using System::string_ptr;

string_ptr UseConversions(const string_ptr& text) {
    const unsigned char byte = 7;
    try {
        return Convert::ToString(Convert::ToInt64(text)) + Convert::ToString(Convert::ToUInt64(text, 16), 16) +
               Convert::ToString(byte) + Convert::ToString('a') + Convert::ToString(sizeof byte) +
               Convert::ToString(-1L);
    } catch (const System::FormatException& exception) {
        return exception.Message();
    } catch (const System::OverflowException& exception) {
        return exception.Message();
    } catch (const System::ArgumentNullException& exception) {
        return exception.Message();
    }
}
