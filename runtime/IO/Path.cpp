// SPDX-License-Identifier: Apache-2.0
#include <System/IO/Path.h>

#include <string_view>

#include <System/Raisers.h>

namespace System::IO {

string_ptr Path::Combine(string_ptr a, string_ptr b) {
    if (!a)
        _throw_argument_null_exception("a");
    if (!b)
        _throw_argument_null_exception("b");
    if (a->Length() == 0 || b->StartsWith("/"))
        return b;
    if (b->Length() == 0)
        return a;
    std::u16string_view folder = a->View();
    while (folder.ends_with(u'/'))
        folder.remove_suffix(1);
    return folder + string_ptr(u"/") + b;
}

} // namespace System::IO
