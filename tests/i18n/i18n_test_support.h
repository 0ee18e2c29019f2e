// Helpers of the localisation tests: a temporary folder for translation files and the module
// that holds the built-in string table.
#pragma once

#include "support/temp_folder.h"

// The module whose resources hold the built-in string table: the DLL under Windows (the test
// program has no string table of its own); natively the table is compiled in.
#ifdef _WIN32
void* stringTableModule();
#else
inline void* stringTableModule() {
    return nullptr;
}
#endif
