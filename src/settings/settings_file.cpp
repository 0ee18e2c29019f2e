// File backend of the settings store, for builds without a registry. It keeps the registry's
// behaviour: values are typed byte strings under a key path, key paths and names match without
// regard to case, and a read takes the stored bytes whatever their type.
//
// The values live in one text file, one line per value:
//
//     HKCU\Software\OrvantaDLL\LibShowThumbnails=number:01000000
//
// the key path (HKCU\Software\<subkey> or HKLM\SOFTWARE\<subkey>), '\', the value name, '=',
// the type (number, string or binary), ':' and the stored bytes in hex. In the key path and the
// name, '%', '=', bytes outside printable ASCII and (in the name) '\' are written as %XX.
// The file is untrusted: a line that does not parse is skipped, and dropped at the next write,
// which replaces the whole file through a temporary file and a rename.
//
// Where the file lives: $ORVANTA_SETTINGS_FILE, else $XDG_CONFIG_HOME/OrvantaDLL/settings,
// else $HOME/.config/OrvantaDLL/settings.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "settings/settings.h"

namespace orv::settings {

namespace {

enum class Type { Number, String, Binary };
constexpr const char* kTypeNames[] = {"number", "string", "binary"};

struct Entry {
    std::string key, name;
    Type type;
    std::vector<uint8_t> bytes;
};

// Of a bigger file only the whole lines in this first part count, and no write makes one.
constexpr size_t kMaxFileBytes = 4 << 20;
constexpr char kHex[] = "0123456789abcdef";

// Reads and writes of this process follow one another, as the registry's do.
std::mutex fileMutex;

std::string settingsPath() {
    const char* file = std::getenv("ORVANTA_SETTINGS_FILE");
    if (file && *file) return file;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config) return std::string(config) + "/OrvantaDLL/settings";
    const char* home = std::getenv("HOME");
    if (home && *home) return std::string(home) + "/.config/OrvantaDLL/settings";
    return {};
}

std::string keyPath(int32_t hive, const char* subkey) {
    return (hive == kMachineHive ? "HKLM\\SOFTWARE\\" : "HKCU\\Software\\") + std::string(subkey);
}

bool sameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const unsigned char x = a[i], y = b[i];
        if (x != y && std::tolower(x) != std::tolower(y)) return false;
    }
    return true;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Two hex digits per byte; false on an odd count or a stray character.
bool decodeHex(std::string_view text, std::vector<uint8_t>* bytes) {
    if (text.size() % 2) return false;
    bytes->resize(text.size() / 2);
    for (size_t i = 0; i < bytes->size(); ++i) {
        const int high = hexDigit(text[2 * i]), low = hexDigit(text[2 * i + 1]);
        if (high < 0 || low < 0) return false;
        (*bytes)[i] = uint8_t(high << 4 | low);
    }
    return true;
}

std::string escape(std::string_view text, bool escapeBackslash) {
    std::string out;
    for (const unsigned char c : text) {
        if (c < 0x20 || c >= 0x7F || c == '%' || c == '=' || (escapeBackslash && c == '\\')) {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        } else {
            out += char(c);
        }
    }
    return out;
}

bool unescape(std::string_view text, std::string* out) {
    out->clear();
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            *out += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return false;
        const int high = hexDigit(text[i + 1]), low = hexDigit(text[i + 2]);
        if (high < 0 || low < 0) return false;
        *out += char(high << 4 | low);
        i += 2;
    }
    return true;
}

// key\name=type:hex, the key beginning with a hive.
bool parseLine(std::string_view line, Entry* entry) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const size_t equals = line.find('=');
    const size_t colon = line.find(':', equals == line.npos ? line.size() : equals);
    if (equals == line.npos || colon == line.npos) return false;
    const std::string_view path = line.substr(0, equals);
    const size_t slash = path.rfind('\\');
    if (slash == path.npos || !unescape(path.substr(0, slash), &entry->key) ||
        !unescape(path.substr(slash + 1), &entry->name))
        return false;
    if (!sameText(entry->key.substr(0, 5), "HKCU\\") &&
        !sameText(entry->key.substr(0, 5), "HKLM\\"))
        return false;
    const std::string_view type = line.substr(equals + 1, colon - equals - 1);
    for (int t = 0; t < 3; ++t)
        if (type == kTypeNames[t]) {
            entry->type = Type(t);
            return decodeHex(line.substr(colon + 1), &entry->bytes);
        }
    return false;
}

bool isValue(const Entry& e, std::string_view key, std::string_view name) {
    return sameText(e.key, key) && sameText(e.name, name);
}

// The file's valid entries in file order; of several lines for one value the last one counts.
// A missing file holds none; a file that exists but cannot be opened fails, so no write
// replaces it.
bool load(const std::string& path, std::vector<Entry>* entries) {
    entries->clear();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return errno == ENOENT;
    std::string text;
    char chunk[65536];
    for (size_t n; text.size() <= kMaxFileBytes && (n = std::fread(chunk, 1, sizeof chunk, file));)
        text.append(chunk, n);
    std::fclose(file);
    if (text.size() > kMaxFileBytes) {  // only the whole lines of the first part count
        const size_t lastEnd = text.rfind('\n', kMaxFileBytes - 1);
        text.resize(lastEnd == text.npos ? 0 : lastEnd + 1);
    }

    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        Entry entry;
        if (parseLine(rest.substr(0, end), &entry)) entries->push_back(std::move(entry));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return true;
}

std::string format(const std::vector<Entry>& entries) {
    std::string text = "# OrvantaDLL settings, a value a line: key path, name, type, hex bytes\n";
    for (const Entry& e : entries) {
        text += escape(e.key, false) + '\\' + escape(e.name, true) + '=' + kTypeNames[int(e.type)] +
                ':';
        for (const uint8_t b : e.bytes) {
            text += kHex[b >> 4];
            text += kHex[b & 15];
        }
        text += '\n';
    }
    return text;
}

// Writes a temporary file beside the settings file and renames it over it, so that a reader
// sees either the old or the new file, never half of one.
bool save(const std::string& path, const std::vector<Entry>& entries) {
    const std::string text = format(entries);
    if (text.size() > kMaxFileBytes) return false;
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    std::string temp = path + ".XXXXXX";
    const int fd = mkstemp(temp.data());
    if (fd < 0) return false;
    bool ok = true;
    for (size_t done = 0; ok && done < text.size();) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        ok = n > 0;
        if (ok) done += size_t(n);
    }
    ok = fsync(fd) == 0 && ok;
    ok = close(fd) == 0 && ok;
    ok = ok && std::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) std::remove(temp.c_str());
    return ok;
}

// Replaces, adds (bytes given) or removes (bytes null) one value.
bool change(int32_t hive, const char* subkey, const char* name, Type type,
            const std::vector<uint8_t>* bytes) {
    if (!subkey) return false;
    try {
        const std::string path = settingsPath();
        if (path.empty()) return false;
        const std::string key = keyPath(hive, subkey);
        const std::string valueName = name ? name : "";
        std::lock_guard<std::mutex> lock(fileMutex);
        std::vector<Entry> entries;
        if (!load(path, &entries)) return false;
        const size_t before = entries.size();
        entries.erase(std::remove_if(entries.begin(), entries.end(),
                                     [&](const Entry& e) { return isValue(e, key, valueName); }),
                      entries.end());
        if (bytes)
            entries.push_back({key, valueName, type, *bytes});
        else if (entries.size() == before)
            return false;  // no such value to delete
        return save(path, entries);
    } catch (...) {  // out of memory: the write fails like any other
        return false;
    }
}

bool fetch(int32_t hive, const char* subkey, const char* name, std::vector<uint8_t>* bytes) {
    if (!subkey) return false;
    try {
        const std::string path = settingsPath();
        if (path.empty()) return false;
        std::lock_guard<std::mutex> lock(fileMutex);
        std::vector<Entry> entries;
        if (!load(path, &entries)) return false;
        const std::string key = keyPath(hive, subkey);
        for (auto e = entries.rbegin(); e != entries.rend(); ++e)
            if (isValue(*e, key, name ? name : "")) {
                *bytes = std::move(e->bytes);
                return true;
            }
        return false;
    } catch (...) {
        return false;
    }
}

}  // namespace

bool writeNumber(int32_t hive, const char* subkey, const char* name, uint32_t value) {
    const std::vector<uint8_t> bytes = {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16),
                                        uint8_t(value >> 24)};
    return change(hive, subkey, name, Type::Number, &bytes);
}

// Like the registry's query into a 4-byte buffer: a shorter value fills the low bytes.
bool readNumber(int32_t hive, const char* subkey, const char* name, uint32_t* out) {
    if (!out) return false;
    *out = 0;
    std::vector<uint8_t> bytes;
    if (!fetch(hive, subkey, name, &bytes) || bytes.size() > 4) return false;
    for (size_t i = 0; i < bytes.size(); ++i) *out |= uint32_t(bytes[i]) << (8 * i);
    return true;
}

bool writeString(int32_t hive, const char* subkey, const char* name, const char* text) {
    if (!text) return false;
    std::vector<uint8_t> bytes(kStringBytes, 0);
    std::memcpy(bytes.data(), text, strnlen(text, kStringBytes - 1));
    return change(hive, subkey, name, Type::String, &bytes);
}

bool readString(int32_t hive, const char* subkey, const char* name, char* out) {
    if (!out) return false;
    out[0] = '\0';
    std::vector<uint8_t> bytes;
    if (!fetch(hive, subkey, name, &bytes) || bytes.size() > kStringBytes) return false;
    // A stored string need not end in a zero: keep the last byte for the terminator.
    bytes.resize(kStringBytes, 0);
    const size_t length = strnlen(reinterpret_cast<const char*>(bytes.data()), kStringBytes - 1);
    std::memcpy(out, bytes.data(), length);
    out[length] = '\0';
    return true;
}

bool writeBinary(int32_t hive, const char* subkey, const char* name, const void* data,
                 uint32_t size) {
    if (!data && size) return false;
    const uint8_t* begin = static_cast<const uint8_t*>(data);
    const std::vector<uint8_t> bytes(begin, begin + size);
    return change(hive, subkey, name, Type::Binary, &bytes);
}

bool readBinary(int32_t hive, const char* subkey, const char* name, void* out, uint32_t size) {
    if (!out) return false;
    std::vector<uint8_t> bytes;
    if (!fetch(hive, subkey, name, &bytes) || bytes.size() != size) return false;
    if (size) std::memcpy(out, bytes.data(), size);
    return true;
}

bool deleteValue(int32_t hive, const char* subkey, const char* name) {
    return change(hive, subkey, name, Type::Binary, nullptr);
}

}  // namespace orv::settings
