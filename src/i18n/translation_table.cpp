// The translation table: the translation file read whole into memory when the library is
// attached, and the tag lookups against it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "i18n/localise.h"

namespace orv {

namespace {

// Load and free come from attach and detach, lookups from any thread.
std::mutex tableMutex;
char* loadedTable = nullptr;  // the file's bytes and a terminating zero
size_t loadedSize = 0;        // bytes read, without the terminator

bool isLineEnd(char c) {
    return c == '\0' || c == '\r' || c == '\n';
}

// The whole file in a buffer of its size plus one, zero-terminated; a file that cannot be
// read whole is kept as far as it was read. Null when the file does not open.
char* readFile(const char* path, size_t& size) {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return nullptr;
    long length = -1;
    if (std::fseek(file, 0, SEEK_END) == 0) length = std::ftell(file);
    std::rewind(file);
    char* data = length >= 0 ? static_cast<char*>(std::malloc(size_t(length) + 1)) : nullptr;
    if (data) {
        size = std::fread(data, 1, size_t(length), file);
        data[size] = '\0';
    }
    std::fclose(file);
    return data;
}

// Replaces "\n" and "\t" by a line feed and a tab and drops any other backslash, keeping the
// character behind it; each step restarts at the beginning, until no backslash is left.
void replaceEscapes(char* text) {
    while (char* backslash = std::strchr(text, '\\')) {
        const char next = backslash[1];
        if (next == 'n' || next == 't') {
            *backslash = next == 'n' ? '\n' : '\t';
            std::memmove(backslash + 1, backslash + 2, std::strlen(backslash + 2) + 1);
        } else {  // also a backslash at the very end: the text just gets shorter
            std::memmove(backslash, backslash + 1, std::strlen(backslash + 1) + 1);
        }
    }
}

}  // namespace

void loadTranslationTable(const char* libraryPath) {
    std::string path = libraryPath ? libraryPath : "";
    const size_t dot = path.rfind('.');
    path = dot == std::string::npos ? path + ".ltx" : path.substr(0, dot + 1) + "ltx";

    size_t size = 0;
    char* data = readFile(path.c_str(), size);
    if (!data) {  // beside the library failed: the bare file name in the current folder
#ifdef _WIN32
        const size_t cut = path.find_last_of("\\:");
#else
        const size_t cut = path.find_last_of("\\:/");
#endif
        if (cut != std::string::npos) data = readFile(path.c_str() + cut + 1, size);
    }

    std::lock_guard<std::mutex> lock(tableMutex);
    std::free(loadedTable);
    loadedTable = data;
    loadedSize = data ? size : 0;
}

void freeTranslationTable() {
    std::lock_guard<std::mutex> lock(tableMutex);
    std::free(loadedTable);
    loadedTable = nullptr;
    loadedSize = 0;
}

bool lookupTag(const char* table, size_t tableSize, const char* tag, char* out) {
    if (!table || !tag || !*tag) return false;
    const void* zero = std::memchr(table, '\0', tableSize);  // a zero byte ends the table
    const char* end = zero ? static_cast<const char*>(zero) : table + tableSize;

    // Plain substring search: the first occurrence wins, even inside another line.
    const char* found = std::search(table, end, tag, tag + std::strlen(tag));
    if (found == end) return false;

    const char* blank = found;
    while (blank < end && *blank != ' ' && !isLineEnd(*blank)) ++blank;
    if (blank == end || *blank != ' ') return false;

    const char* from = blank + 1;
    size_t n = 0;
    while (from + n < end && !isLineEnd(from[n]) && n < kLocalisedMax - 1) ++n;
    std::memcpy(out, from, n);
    out[n] = '\0';
    replaceEscapes(out);
    return true;
}

bool lookupTranslation(const char* tag, char* out) {
    std::lock_guard<std::mutex> lock(tableMutex);
    return lookupTag(loadedTable, loadedSize, tag, out);
}

int32_t localiseInPlace(char* text) {
    std::lock_guard<std::mutex> lock(tableMutex);
    return localiseInPlace(text, loadedTable, loadedSize);
}

}  // namespace orv
