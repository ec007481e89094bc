// SPDX-License-Identifier: Apache-2.0
// The small operations of texts, numbers, dictionaries and lazy values, a thousand of each.
//
//     text-bench OPERATION      for a tool that counts instructions within the function of that name below
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <System/CallbackFunc.h>
#include <System/Collections/Generic/Dictionary.h>
#include <System/Convert.h>
#include <System/Lazy.h>
#include <System/String.h>

using System::string_ptr;

namespace {

constexpr int OPERATIONS = 1000;

int MakeSeven() {
    return 7;
}
System::Lazy<int> lazy{System::CallbackFunc<int>::Create(&MakeSeven)};

using Pairs = System::Collections::Generic::Dictionary<string_ptr, string_ptr>;

} // namespace

// Out of line and with names of their own, so that the tool finds them; each includes the end of what it makes.
[[gnu::noinline]] int FromUtf8(std::string_view bytes) {
    return string_ptr(bytes)->Length();
}
[[gnu::noinline]] int FromUnits(std::u16string_view units) {
    return string_ptr(units)->Length();
}
[[gnu::noinline]] int Concatenate(const string_ptr& left, const string_ptr& right) {
    return (left + right)->Length();
}
[[gnu::noinline]] bool Compare(const string_ptr& left, const string_ptr& right) {
    return left == right;
}
[[gnu::noinline]] long long ReadNumber(const string_ptr& text) {
    return System::Convert::ToInt64(text, 16);
}
[[gnu::noinline]] const int& LazyValue() {
    return lazy.Value();
}
[[gnu::noinline]] void Add(Pairs& pairs, const string_ptr& key, const string_ptr& value) {
    pairs.Add(key, value);
}
[[gnu::noinline]] const string_ptr& Find(Pairs& pairs, const string_ptr& key) {
    return pairs[key];
}

[[gnu::noinline]] const string_ptr& FindLiteral(Pairs& pairs) {
    return pairs["module_status_red"];
}

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    const auto pairs = Pairs::Create();
    const string_ptr left = "/var/dev/", right = "gpio_17/val", same = std::string_view("/var/dev/"),
                     number = "44000000";
    std::vector<string_ptr> keys;
    for (int i = 0; i < OPERATIONS; ++i)
        keys.push_back("offset_" + System::Convert::ToString(i));
    pairs->Add("module_status_red", number);
    if (what == "Find")
        for (const string_ptr& key : keys)
            pairs->Add(key, key);
    lazy.Value();

    long long sum = 0;
    for (const string_ptr& key : keys) {
        if (what == "FromUtf8")
            sum += FromUtf8("mainboard_voltage_12");
        else if (what == "FromUnits")
            sum += FromUnits(u"mainboard_voltage_12");
        else if (what == "Concatenate")
            sum += Concatenate(left, right);
        else if (what == "Compare")
            sum += Compare(left, same);
        else if (what == "ReadNumber")
            sum += ReadNumber(number);
        else if (what == "LazyValue")
            sum += LazyValue();
        else if (what == "Add")
            Add(*pairs, key, key);
        else if (what == "Find")
            sum += Find(*pairs, key)->Length();
        else if (what == "FindLiteral")
            sum += FindLiteral(*pairs)->Length();
        else {
            std::fputs("usage: text-bench "
                       "FromUtf8 | FromUnits | Concatenate | Compare | ReadNumber | LazyValue | Add | Find\n",
                       stderr);
            return EXIT_FAILURE;
        }
    }
    std::printf("%lld\n", sum);
    return EXIT_SUCCESS;
}
