// The string table, read back through the loaded DLL's resources: strings.inc (UTF-8), which the
// resource script converts to UTF-16, against the same text converted at run time; a few texts
// written out in UTF-16 catch the whole file read in a wrong code page (spoiling both sides).
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

struct StringEntry {
    UINT id;
    const char* utf8;
};

#define ORV_STRING(id, text) {id, text},
const StringEntry kStringTable[] = {
#include "../../resources/strings.inc"
};
#undef ORV_STRING

HMODULE orvantaDll() {
    return GetModuleHandleA("OrvantaDLL.dll");
}

// Non-ASCII code units as \uXXXX, for failure messages.
std::string describe(const std::wstring& text) {
    std::string out;
    for (wchar_t c : text) {
        char buf[8];
        if (c >= 0x20 && c < 0x7F) {
            out += char(c);
        } else {
            std::snprintf(buf, sizeof buf, "\\u%04X", unsigned(c));
            out += buf;
        }
    }
    return out;
}

std::wstring fromUtf8(const char* utf8) {
    const int n = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, nullptr, 0);
    if (n <= 0) return L"<invalid UTF-8>";
    std::wstring out(size_t(n), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, &out[0], n);
    out.resize(size_t(n) - 1);
    return out;
}

// The resource text at its full length (a zero buffer size hands out a pointer into it).
std::wstring loadWide(UINT id) {
    const wchar_t* text = nullptr;
    const int n = LoadStringW(orvantaDll(), id, reinterpret_cast<LPWSTR>(&text), 0);
    return n > 0 && text ? std::wstring(text, size_t(n)) : std::wstring();
}

TEST(StringTable, EveryEntryLoadsExactlyFromTheGermanBlock) {
    ASSERT_NE(orvantaDll(), nullptr) << "OrvantaDLL.dll is not loaded in this process";
    for (const StringEntry& entry : kStringTable) {
        const std::wstring expected = fromUtf8(entry.utf8), loaded = loadWide(entry.id);
        EXPECT_TRUE(loaded == expected)
            << "string " << entry.id << "\n  loaded:   \"" << describe(loaded)
            << "\"\n  expected: \"" << describe(expected) << "\"";
        // String resources come in blocks of 16 ids; the DLL's are tagged German.
        EXPECT_NE(FindResourceExW(orvantaDll(), reinterpret_cast<LPCWSTR>(RT_STRING),
                                  MAKEINTRESOURCEW(entry.id / 16 + 1),
                                  MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN)),
                  nullptr)
            << "no German string block for id " << entry.id;
    }
}

TEST(StringTable, UmlautsAndLineFeedsInUtf16) {
    const struct {
        UINT id;
        const wchar_t* text;
    } cases[] = {
        {155, L"Speicher\u00fcberlauf"},
        {76, L"\u00dcbersetzungswerkzeug"},
        {119,
         L"Das Bild ist nicht quadratisch.\nSoll auf quadratisches Format aufgef\u00fcllt "
         L"werden\n(andernfalls wird das Bild abgeschnitten)?"},
        {156,
         L"Es konnte kein freier Arbeitsspeicher zugeordnet werden.\nVermutlich ist die "
         L"maximale Gr\u00f6\u00dfe der Auslagerungsdatei zu klein\neingestellt oder die "
         L"Festplatte mit der Auslagerungsdatei ist voll.\nDas Programm wird beendet."},
    };
    for (const auto& c : cases) {
        const std::wstring loaded = loadWide(c.id);
        EXPECT_TRUE(loaded == c.text) << "string " << c.id << " is \"" << describe(loaded)
                                      << "\", not \"" << describe(c.text) << "\"";
    }
}

TEST(StringTable, AnsiTextIsWindows1252) {
    if (GetACP() != 1252) GTEST_SKIP() << "ANSI code page is " << GetACP() << ", not 1252";
    char buffer[64];
    const int n = LoadStringA(orvantaDll(), 155, buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, size_t(n > 0 ? n : 0)),
              "Speicher\xFC"
              "berlauf");
}

TEST(StringTable, IdsOutsideTheTableLoadNothing) {
    // 1 has no block at all; the others are neighbours of entries, 107 and 157 in their blocks.
    for (UINT id : {1u, 71u, 107u, 134u, 157u, 259u, 299u}) {
        for (const StringEntry& entry : kStringTable) ASSERT_NE(entry.id, id);
        EXPECT_EQ(loadWide(id), std::wstring()) << "id " << id;
    }
}

}  // namespace
