// Registry backend of the settings store. Every helper opens the key, touches one value and
// closes the key again: reads open it with query access, writes create it when needed with full
// access. RegQueryValueExA does not check a value's type, so neither do the readers.
#include <windows.h>

#include <cstring>
#include <string>

#include "settings/settings.h"

namespace orv::settings {

namespace {

// "Software\<subkey>" in the current user's hive, or "SOFTWARE\<subkey>" in the machine's.
HKEY hiveRoot(int32_t hive) {
    return hive == kMachineHive ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}
std::string keyPath(int32_t hive, const char* subkey) {
    return (hive == kMachineHive ? "SOFTWARE\\" : "Software\\") + std::string(subkey);
}

bool openKey(bool create, int32_t hive, const char* subkey, HKEY* key) {
    if (!subkey) return false;
    if (create)
        return RegCreateKeyExA(hiveRoot(hive), keyPath(hive, subkey).c_str(), 0, nullptr,
                               REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, key,
                               nullptr) == ERROR_SUCCESS;
    return RegOpenKeyExA(hiveRoot(hive), keyPath(hive, subkey).c_str(), 0, KEY_QUERY_VALUE, key) ==
           ERROR_SUCCESS;
}

bool setValue(int32_t hive, const char* subkey, const char* name, DWORD type, const void* data,
              DWORD size) {
    HKEY key;
    if (!openKey(true, hive, subkey, &key)) return false;
    const bool ok =
        RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size) == ERROR_SUCCESS;
    RegCloseKey(key);
    return ok;
}

// Reads at most *size bytes into data (null: only the size); *size becomes the stored size.
bool queryValue(int32_t hive, const char* subkey, const char* name, void* data, DWORD* size) {
    HKEY key;
    if (!openKey(false, hive, subkey, &key)) return false;
    const bool ok = RegQueryValueExA(key, name, nullptr, nullptr, static_cast<BYTE*>(data), size) ==
                    ERROR_SUCCESS;
    RegCloseKey(key);
    return ok;
}

}  // namespace

bool writeNumber(int32_t hive, const char* subkey, const char* name, uint32_t value) {
    const DWORD number = value;
    return setValue(hive, subkey, name, REG_DWORD, &number, sizeof number);
}

bool readNumber(int32_t hive, const char* subkey, const char* name, uint32_t* out) {
    if (!out) return false;
    *out = 0;
    // A failed query may leave part of a longer value in its buffer: read into a local first.
    DWORD number = 0, size = sizeof number;
    if (!queryValue(hive, subkey, name, &number, &size)) return false;
    *out = number;
    return true;
}

bool writeString(int32_t hive, const char* subkey, const char* name, const char* text) {
    if (!text) return false;
    char buffer[kStringBytes] = {};
    std::strncpy(buffer, text, kStringBytes - 1);
    return setValue(hive, subkey, name, REG_SZ, buffer, kStringBytes);
}

bool readString(int32_t hive, const char* subkey, const char* name, char* out) {
    if (!out) return false;
    out[0] = '\0';
    char scratch[kStringBytes] = {};
    DWORD size = kStringBytes;
    if (!queryValue(hive, subkey, name, scratch, &size)) return false;
    // A stored string need not end in a zero: keep the last byte for the terminator.
    const size_t length = strnlen(scratch, kStringBytes - 1);
    std::memcpy(out, scratch, length);
    out[length] = '\0';
    return true;
}

bool writeBinary(int32_t hive, const char* subkey, const char* name, const void* data,
                 uint32_t size) {
    if (!data && size) return false;
    return setValue(hive, subkey, name, REG_BINARY, data, size);
}

bool readBinary(int32_t hive, const char* subkey, const char* name, void* out, uint32_t size) {
    if (!out) return false;
    DWORD stored = 0;
    if (!queryValue(hive, subkey, name, nullptr, &stored) || stored != size) return false;
    return queryValue(hive, subkey, name, out, &stored) && stored == size;
}

bool deleteValue(int32_t hive, const char* subkey, const char* name) {
    HKEY key;
    if (!subkey || RegOpenKeyExA(hiveRoot(hive), keyPath(hive, subkey).c_str(), 0, KEY_SET_VALUE,
                                 &key) != ERROR_SUCCESS)
        return false;
    const bool ok = RegDeleteValueA(key, name) == ERROR_SUCCESS;
    RegCloseKey(key);
    return ok;
}

}  // namespace orv::settings
