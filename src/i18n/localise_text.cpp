// Localising one caption: its " $ppp.iii" tag is replaced by the translation, or removed.
#include <algorithm>
#include <cstring>

#include "i18n/localise.h"

namespace orv {

int32_t localiseInPlace(char* text, const char* table, size_t tableSize) {
    text[kLocalisedMax - 1] = '\0';  // the buffer's size bounds the text, terminated or not
    char* blank = std::strstr(text, " $");
    if (!blank) return 0;

    char tag[9] = {};  // the 8 characters behind the blank, fewer where the text ends
    std::strncpy(tag, blank + 1, 8);

    char rest[kLocalisedMax] = {};  // from the first blank behind the "$" on
    if (const char* restStart = std::strchr(blank + 2, ' ')) std::strcpy(rest, restStart);

    // The translation replaces the whole text; without one the text ends before the tag. A
    // text that ends within the tag's 8 characters has no tag to look up.
    if (std::strlen(tag) < 8 || !lookupTag(table, tableSize, tag, text)) *blank = '\0';

    const size_t used = std::strlen(text);
    const size_t n = std::min(std::strlen(rest), kLocalisedMax - 1 - used);
    std::memcpy(text + used, rest, n);
    text[used + n] = '\0';
    return 1;
}

}  // namespace orv
