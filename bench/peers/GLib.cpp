// SPDX-License-Identifier: Apache-2.0
#include <glib.h>

#include "bench/peers/Contest.h"
#include "bench/peers/Text.h"

namespace {

std::shared_ptr<void> ReadKeyFile(const char* path) {
    GKeyFile* const file = g_key_file_new();
    if (!g_key_file_load_from_file(file, path, G_KEY_FILE_NONE, nullptr))
        Bench::Fail(path);
    return {file, [](void* made) { g_key_file_free(static_cast<GKeyFile*>(made)); }};
}

const Bench::PeerReader reader{{"GLib", &ReadKeyFile, 100'000'000}};

const Bench::Peer lookUp{"look-up", {"GLib", [](const std::string&) {
                                         GHashTable* const table = g_hash_table_new(g_str_hash, g_str_equal);
                                         for (const char* key : Bench::KEYS)
                                             g_hash_table_insert(table, const_cast<char*>(key),
                                                                 const_cast<char*>("value"));
                                         return [table](int times) {
                                             for (int i = 0; i < times; ++i)
                                                 Bench::Use(g_hash_table_lookup(table, Bench::Hide(Bench::KEYS[2])));
                                         };
                                     }}};

} // namespace
