// Localisation: every user text passes through the translation table. Without a translation
// file, or without a line for a tag, the built-in German text is used with its tag removed.
// String-table texts are looked up under the tag "$000.<id, three digits>".
#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

constexpr size_t kLocalisedMax = 512;  // characters a localised text holds, terminator included

// The translation table: the translation file beside the library, read once when the library
// is attached to a process (libraryPath: the library's full file name) and freed on detach.
void loadTranslationTable(const char* libraryPath);
void freeTranslationTable();

// The text of string-table id: its translation when the table has one, else the built-in text.
// out holds kLocalisedMax bytes; the text is in the single-byte code page (Windows-1252).
void loadLocalisedString(int32_t id, char* out);

// Replaces the one " $ppp.iii" tag in text (which holds kLocalisedMax bytes) by its translation,
// or removes it; returns 1 when the text held a tag, else 0.
int32_t localiseInPlace(char* text);

// The text of string id as a printf format: its translation when that asks for the same
// arguments as the built-in text, else the built-in text.
void loadLocalisedFormat(int32_t id, char* out);

// Loads text and caption by id, formats the text with argument when it is nonzero, shows a
// message box and returns its result.
int32_t showLocalisedMessage(void* owner, int32_t textId, int32_t captionId, intptr_t argument,
                             uint32_t style);

// Looks tag up in the loaded table; writes its replacement to out (kLocalisedMax bytes) and
// returns true, or returns false and leaves out untouched.
bool lookupTranslation(const char* tag, char* out);

// The same lookups against an explicit table of tableSize bytes, which a zero byte may end
// earlier. The table need not be terminated; nothing outside it or outside out is touched.
bool lookupTag(const char* table, size_t tableSize, const char* tag, char* out);
int32_t localiseInPlace(char* text, const char* table, size_t tableSize);

}  // namespace orv
