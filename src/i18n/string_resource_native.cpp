// The string table compiled in from strings.inc (UTF-8), converted once to Windows-1252, the
// code page the library's texts use everywhere.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "i18n/localise.h"
#include "i18n/string_resource.h"

namespace orv {

namespace {

struct Utf8String {
    int32_t id;
    const char* text;
};

#define ORV_STRING(id, text) {id, text},
const Utf8String kUtf8Strings[] = {
#include "../../resources/strings.inc"
};
#undef ORV_STRING

// Windows-1252 bytes 0x80..0x9F and their code points (0 where the code page has none);
// every other byte is the Latin-1 code point of the same value.
const uint16_t kCp1252High[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                  0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char toCp1252(uint32_t codePoint) {
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) return char(codePoint);
    for (int k = 0; k < 32; ++k)
        if (kCp1252High[k] == codePoint && codePoint != 0) return char(0x80 + k);
    return '?';
}

std::string utf8ToCp1252(const char* utf8) {
    std::string out;
    const auto* s = reinterpret_cast<const unsigned char*>(utf8);
    while (*s) {
        uint32_t cp = *s++;
        int more = cp >= 0xF0 ? 3 : cp >= 0xE0 ? 2 : cp >= 0xC0 ? 1 : 0;
        if (more) cp &= 0x3Fu >> more;
        for (; more > 0 && (*s & 0xC0) == 0x80; --more) cp = (cp << 6) | (*s++ & 0x3Fu);
        out += toCp1252(cp);
    }
    return out;
}

struct Cp1252String {
    int32_t id;
    std::string text;
};

const std::vector<Cp1252String>& builtInStrings() {
    static const std::vector<Cp1252String> strings = [] {
        std::vector<Cp1252String> converted;
        for (const Utf8String& s : kUtf8Strings) converted.push_back({s.id, utf8ToCp1252(s.text)});
        return converted;
    }();
    return strings;
}

}  // namespace

void loadResourceString(int32_t id, char* out) {
    out[0] = '\0';
    for (const Cp1252String& s : builtInStrings()) {
        if (s.id != id) continue;
        const size_t n = std::min(s.text.size(), kLocalisedMax - 1);
        std::memcpy(out, s.text.data(), n);
        out[n] = '\0';
        return;
    }
}

}  // namespace orv
