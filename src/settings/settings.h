// Settings store: a few per-user values under one key, "Software\OrvantaDLL" in the current
// user's hive. Typed helpers read and write single values; every read tolerates a missing key
// or value by reporting failure, and every caller then falls back to a built-in value.
//
// Each helper takes the hive (1 current user, 0 local machine with the prefix "SOFTWARE\"),
// the subkey and the value name, and returns true on success, false on any failure.
#pragma once

#include <cstdint>

namespace orv::settings {

constexpr int32_t kMachineHive = 0, kUserHive = 1;
constexpr const char* kLibrarySubkey = "OrvantaDLL";
constexpr uint32_t kStringBytes = 256;  // strings are stored and read as 256-byte buffers

// 32-bit number (REG_DWORD). readNumber sets *out to 0 first.
bool writeNumber(int32_t hive, const char* subkey, const char* name, uint32_t value);
bool readNumber(int32_t hive, const char* subkey, const char* name, uint32_t* out);
uint32_t readNumberOrZero(int32_t hive, const char* subkey, const char* name);

// String (REG_SZ): written as the whole zero-filled 256-byte buffer; read into out, which holds
// kStringBytes bytes and is set to the empty string first.
bool writeString(int32_t hive, const char* subkey, const char* name, const char* text);
bool readString(int32_t hive, const char* subkey, const char* name, char* out);

// Binary block (REG_BINARY). readBinary succeeds only when the stored size equals size exactly;
// a value of any other size counts as missing and out is left untouched.
bool writeBinary(int32_t hive, const char* subkey, const char* name, const void* data,
                 uint32_t size);
bool readBinary(int32_t hive, const char* subkey, const char* name, void* out, uint32_t size);

// Removes a value (tests and hosts that reset a stored default).
bool deleteValue(int32_t hive, const char* subkey, const char* name);

}  // namespace orv::settings
