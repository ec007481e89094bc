// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Dictionary.h>

using System::string_ptr;
using System::Collections::Generic::Dictionary;
using System::Collections::Generic::IDictionary;

// An instance of the library, and one of the program.
template <class K>
int UseEverything(const std::shared_ptr<Dictionary<K, string_ptr>>& dictionary, K key) {
    dictionary->Add(key, "a");
    dictionary->Set(key, "b");
    string_ptr value;
    int found = 0;
    if (dictionary->ContainsKey(key) && dictionary->TryGetValue(key, value) && (*dictionary)[key] != nullptr)
        ++found;
    for (const auto& pair : *dictionary)
        found += pair.Key == key && pair.Value != value;
    for (auto place = dictionary->begin(); place != dictionary->end(); ++place)
        found += place->Value == "b" && place == dictionary->begin();
    const std::shared_ptr<IDictionary<K, string_ptr>> interface = dictionary;
    return interface->Remove(key) ? interface->Count() : found;
}

int UseDictionaries() {
    try {
        return UseEverything(Dictionary<string_ptr, string_ptr>::Create(), string_ptr("key")) +
               UseEverything(Dictionary<long, string_ptr>::Create(), 7L);
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return -1;
    } catch (const System::ArgumentException&) {
        return -2;
    }
}
