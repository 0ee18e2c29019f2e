// Stored record defaults written the way a host or an installer writes them: the registry
// through the Win32 API under Wine, the settings file natively.
#pragma once

#include <cstdint>

// Points the native build at a settings file of this process's own; nothing on Windows.
void isolateSettings();
void storeDefault(const char* valueName, const void* data, uint32_t size);
void removeDefault(const char* valueName);
