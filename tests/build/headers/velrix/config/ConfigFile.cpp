// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ConfigFile.h>

using System::string_ptr;

int UseSettings(const string_ptr& path) {
    try {
        const auto sections = Velrix::ConfigFile::ReadAll(path);
        if ((*(*sections)["led"])["green"] == nullptr)
            Velrix::_throw_unexpected_char_exception('=', path, 0, 1);
        if (Velrix::is_letter('a') && Velrix::is_end_of_file(-1))
            Velrix::_throw_unexpected_eof_exception(path);
        return sections->Count();
    } catch (const System::IO::FileNotFoundException&) {
        return -1;
    } catch (const System::IO::IOException&) {
        return -2;
    } catch (const System::FormatException&) {
        return -3;
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return -4;
    } catch (const System::ArgumentException&) {
        return -5;
    }
}
