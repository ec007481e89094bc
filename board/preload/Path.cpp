// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Path.h"

#include <cstring>

#include "board/preload/Descriptors.h"
#include "board/preload/Kernel.h"
#include "board/preload/Links.h"
#include "board/preload/NormalPath.h"

namespace VelrixBoard::Preload {

namespace {

// The directories of this process's descriptors in /proc, and Debian's links to them in /dev.
constexpr const char* DESCRIPTOR_FOLDERS[] = {"/proc/self/fd/", "/dev/fd/", "/proc/thread-self/fd/"};
constexpr const char* STANDARD_STREAMS[] = {"/dev/stdin", "/dev/stdout", "/dev/stderr"};

// Parses a decimal number; -1 for any other text.
int Number(const char* text) {
    int number = 0;
    if (*text == '\0')
        return -1;
    for (; *text != '\0'; ++text) {
        if (*text < '0' || *text > '9' || number > 100'000'000)
            return -1;
        number = 10 * number + (*text - '0');
    }
    return number;
}

void PutNumber(char* text, unsigned number) {
    char digits[16];
    int count = 0;
    do
        digits[count++] = static_cast<char>('0' + number % 10);
    while ((number /= 10) != 0);
    while (count > 0)
        *text++ = digits[--count];
    *text = '\0';
}

// The path of the base directory of relative paths; 0 when it has none.
std::size_t ReadBase(int directory, char* text) {
    ssize_t length = 0;
    if (directory == AT_FDCWD) {
        length = Kernel::CurrentDirectory(text, PATH_MAX);
    } else {
        char link[32] = "/proc/self/fd/";
        PutNumber(link + std::strlen(link), static_cast<unsigned>(directory));
        length = directory < 0 ? -1 : Kernel::ReadLink(AT_FDCWD, link, text, PATH_MAX - 1);
    }
    if (length <= 0 || text[0] != '/')
        return 0;
    text[length] = '\0';
    return static_cast<std::size_t>(length);
}

} // namespace

int DescriptorOfPath(const char* path) {
    for (const char* folder : DESCRIPTOR_FOLDERS)
        if (std::strncmp(path, folder, std::strlen(folder)) == 0)
            return Number(path + std::strlen(folder));
    for (int i = 0; i < 3; ++i)
        if (std::strcmp(path, STANDARD_STREAMS[i]) == 0)
            return i;
    if (std::strncmp(path, "/proc/", 6) != 0)
        return -1;
    char own[32] = "/proc/";
    PutNumber(own + 6, static_cast<unsigned>(Kernel::Process()));
    std::strcat(own, "/fd/");
    return std::strncmp(path, own, std::strlen(own)) == 0 ? Number(path + std::strlen(own)) : -1;
}

Path::Path(int directory, const char* path, Follow follow)
    : given(path), givenDirectory(directory), names(Names::Current()) {
    if (names == nullptr || path == nullptr || path[0] == '\0')
        return;
    const Kernel::KeptErrno kept;
    if (!Compose())
        return;
    if (follow == Follow::YES)
        TakeDescriptor();
    isReplaced = Lead() || isReplaced;
}

// Makes the path absolute, in text; sets isReplaced if its base is a directory of the board.
bool Path::Compose() {
    std::size_t base = 0;
    const std::size_t givenLength = ::strnlen(given, PATH_MAX);
    if (givenLength == PATH_MAX)
        return false; // ENAMETOOLONG by the kernel
    if (given[0] != '/') {
        base = ReadBase(givenDirectory, text);
        if (base == 0)
            return false;
        const std::size_t inside = names->ToInside(text, base, sizeof text);
        isReplaced = inside != 0;
        base = isReplaced ? inside : base;
    }
    NormalPath path(text, base);
    if (!path.Append(given)) {
        isReplaced = false;
        return false;
    }
    length = path.Finish();
    isDirectory = given[givenLength - 1] == '/' || (givenLength > 1 && std::strcmp(given + givenLength - 2, "/.") == 0);
    return true;
}

// The path of a value file's descriptor is that of the file.
void Path::TakeDescriptor() {
    const int descriptor = DescriptorOfPath(text);
    ValueFile file;
    if (descriptor < 0 || !Descriptors::Find(descriptor, file))
        return;
    const Name* value = names->Value(file.file);
    if (value == nullptr)
        return;
    length = value->insideLength;
    std::memcpy(text, value->inside, length + 1);
}

// Maps the inside path to the outside one, if it is on the list.
bool Path::Lead() {
    place = names->Find(text, length);
    if (place.cover != nullptr)
        TakeCovered();
    if (place.name == nullptr)
        return false;
    const std::size_t slash = isDirectory ? 1 : 0;
    isName = place.name->insideLength == length;
    const std::size_t led = names->ToOutside(place, text, length, sizeof text - slash);
    if (led == 0) {
        place = Place();
        return false;
    }
    length = led;
    if (isDirectory) {
        text[length++] = '/';
        text[length] = '\0';
        place.value = nullptr; // a path with a trailing slash does not name a file
    }
    return true;
}

// In a covered directory, names that the machine lacks are the board's.
void Path::TakeCovered() {
    std::size_t end = place.cover->insideLength + 1;
    while (end < length && text[end] != '/')
        ++end;
    const char ended = text[end];
    text[end] = '\0';
    struct stat status {};
    const bool isMissing = Kernel::Status(text, false, status) != 0 && errno == ENOENT;
    text[end] = ended;
    if (isMissing)
        place.name = place.cover;
}

bool Path::Resolve(Follow follow) {
    if (names == nullptr || given == nullptr || given[0] == '\0')
        return false;
    const Kernel::KeptErrno kept;
    // The path inside again.
    if (!Compose())
        return false;
    length = ResolveLinks(*names, text, follow);
    isReplaced = length != 0 && Lead();
    return isReplaced;
}

int Path::ErrorOfMaking(int error) const {
    const Kernel::KeptErrno kept;
    struct stat status {};
    if (Kernel::Status(Text(), false, status) == 0)
        return EEXIST;
    if (errno != ENOENT)
        return errno;
    char parent[PATH_MAX];
    std::size_t size = std::strlen(Text());
    std::memcpy(parent, Text(), size + 1);
    while (size > 1 && parent[size - 1] == '/')
        --size;
    while (size > 1 && parent[size - 1] != '/')
        --size;
    parent[size] = '\0';
    return Kernel::Status(parent, true, status) == 0 ? error : errno;
}

} // namespace VelrixBoard::Preload
