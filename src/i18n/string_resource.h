// The built-in German string table, the fallback of every localised string: the library's
// string resources on Windows, strings.inc compiled in natively.
#pragma once

#include <cstdint>

namespace orv {

// The built-in text of string-table id in Windows-1252 into out (kLocalisedMax bytes), cut to
// fit; the empty string for an id the table does not hold.
void loadResourceString(int32_t id, char* out);

}  // namespace orv
