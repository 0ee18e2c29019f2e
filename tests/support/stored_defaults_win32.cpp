#include <windows.h>

#include "support/stored_defaults.h"

void isolateSettings() {}

void storeDefault(const char* valueName, const void* data, uint32_t size) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\OrvantaDLL", 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &key, nullptr) != ERROR_SUCCESS)
        return;
    RegSetValueExA(key, valueName, 0, REG_BINARY, static_cast<const BYTE*>(data), size);
    RegCloseKey(key);
}

void removeDefault(const char* valueName) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\OrvantaDLL", 0, KEY_ALL_ACCESS, &key) ==
        ERROR_SUCCESS) {
        RegDeleteValueA(key, valueName);
        RegCloseKey(key);
    }
}
