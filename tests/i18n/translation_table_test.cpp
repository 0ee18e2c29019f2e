// Tag lookups and the localisation of one caption against explicit tables.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "i18n/localise.h"

namespace {

using orv::kLocalisedMax;

std::string visible(const std::string& text) {
    std::string out;
    for (char c : text)
        out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\r' ? "\\r" : std::string(1, c);
    return out;
}

TEST(LookupTag, FindsTheTextBehindTheFirstOccurrence) {
    const struct {
        std::string table;
        const char* tag;
        bool found;
        std::string text;
    } cases[] = {
        {"$004.003 Type\n", "$004.003", true, "Type"},
        {"$004.003 Type", "$004.003", true, "Type"},
        {"a\r\n$004.003 Type\r\nb", "$004.003", true, "Type"},
        {"Typ $004.003 Kind\n$004.003 Type\n", "$004.003", true, "Kind"},  // mid-line wins
        {"$004.003Type of\n", "$004.003", true, "of"},  // the first blank, not the next char
        {"$004.003 ", "$004.003", true, ""},
        {"x $004.003", "$004.003", false, ""},  // tag at the very end
        {"$004.003\nType", "$004.003", false, ""},
        {"$004.003\r Type", "$004.003", false, ""},
        {"$004.00 Type", "$004.003", false, ""},
        {"$004.001 Gloss\n", "$004.003", false, ""},
        {std::string("$1\0$004.003 Type", 16), "$004.003", false, ""},  // a zero ends the table
        {"", "$004.003", false, ""},
        {"$004.003 Type", "", false, ""},
    };
    for (const auto& c : cases) {
        char out[kLocalisedMax] = "untouched";
        const bool found = orv::lookupTag(c.table.data(), c.table.size(), c.tag, out);
        EXPECT_EQ(found, c.found) << "table \"" << visible(c.table) << "\"";
        EXPECT_EQ(std::string(out), c.found ? c.text : "untouched")
            << "table \"" << visible(c.table) << "\"";
    }
}

TEST(LookupTag, ReplacesEscapesFromTheStartUntilNoBackslashIsLeft) {
    const struct {
        const char* replacement;
        const char* text;
    } cases[] = {
        {"Scene\\tA\\B", "Scene\tAB"},
        {"one\\ntwo", "one\ntwo"},
        {"a\\\\b",
         "a"
         "b"},              // the kept backslash is dropped in the next round
        {"a\\\\n", "a\n"},  // ... or starts an escape
        {"50\\% \\\"x\\\"", "50% \"x\""},
        {"end\\", "end"},  // a lone backslash at the very end
        {"\\\\\\", ""},
    };
    for (const auto& c : cases) {
        const std::string table = std::string("$000.106 ") + c.replacement + "\n";
        char out[kLocalisedMax] = {};
        ASSERT_TRUE(orv::lookupTag(table.data(), table.size(), "$000.106", out)) << c.replacement;
        EXPECT_EQ(visible(out), visible(c.text)) << "replacement \"" << c.replacement << "\"";
    }
}

TEST(LookupTag, StaysInsideAnUnterminatedTableAndCutsLongReplacements) {
    const std::string line = "$000.106 Scene";
    std::vector<char> exact(line.begin(), line.end());  // no terminator behind it
    char out[kLocalisedMax] = {};
    ASSERT_TRUE(orv::lookupTag(exact.data(), exact.size(), "$000.106", out));
    EXPECT_STREQ(out, "Scene");
    EXPECT_FALSE(orv::lookupTag(exact.data(), exact.size() - 9, "$000.106", out));

    const std::string table = "$000.106 " + std::string(2000, 'x');
    std::vector<char> guarded(kLocalisedMax + 16, '#');
    ASSERT_TRUE(orv::lookupTag(table.data(), table.size(), "$000.106", guarded.data()));
    EXPECT_EQ(std::strlen(guarded.data()), kLocalisedMax - 1);
    EXPECT_EQ(guarded[kLocalisedMax], '#');
    EXPECT_FALSE(orv::lookupTag(nullptr, 0, "$000.106", out));
}

TEST(LocaliseInPlace, ReplacesOrRemovesTheOneTag) {
    const std::string table =
        "$004.003 Type\n$004.001 Gloss\n$005.002 Width\n$000.106 Scene\\tA\\B\n";
    const struct {
        const char* text;
        int32_t tagged;
        const char* withTable;
        const char* withoutTable;
    } cases[] = {
        {"Typ $004.003", 1, "Type", "Typ"},
        {"Typ $004.009", 1, "Typ", "Typ"},
        {"Breite $005.002 mm", 1, "Width mm", "Breite mm"},
        {"Breite $005.009 mm", 1, "Breite mm", "Breite mm"},
        {"Szene $000.106", 1, "Scene\tAB", "Szene"},
        {"A $004.003 B $004.001", 1, "Type B $004.001", "A B $004.001"},  // one tag per text
        {"Typ $", 1, "Typ", "Typ"},  // too short to be a tag, though "$" is in the table
        {"Typ $004.00", 1, "Typ", "Typ"},
        {"a $0 b", 1, "a b", "a b"},
        {"Typ", 0, "Typ", "Typ"},
        {"Preis$ 5", 0, "Preis$ 5", "Preis$ 5"},
        {"$004.003 Typ", 0, "$004.003 Typ", "$004.003 Typ"},
        {"", 0, "", ""},
    };
    for (const auto& c : cases) {
        char text[kLocalisedMax] = {};
        std::strcpy(text, c.text);
        EXPECT_EQ(orv::localiseInPlace(text, table.data(), table.size()), c.tagged) << c.text;
        EXPECT_EQ(visible(text), visible(c.withTable)) << "with table: \"" << c.text << "\"";
        std::strcpy(text, c.text);
        EXPECT_EQ(orv::localiseInPlace(text, nullptr, 0), c.tagged) << c.text;
        EXPECT_STREQ(text, c.withoutTable) << "without table: \"" << c.text << "\"";
    }
}

TEST(LocaliseInPlace, CutsWhatDoesNotFitTheBuffer) {
    const std::string table = "$004.001 " + std::string(500, 'r') + "\n";
    const std::string unit = " " + std::string(200, 'u');
    struct Guarded {
        char text[kLocalisedMax];
        char guard[16];
    } buffer;
    std::memset(buffer.guard, '#', sizeof buffer.guard);
    std::strcpy(buffer.text, ("Glanz $004.001" + unit).c_str());
    EXPECT_EQ(orv::localiseInPlace(buffer.text, table.data(), table.size()), 1);
    EXPECT_EQ(std::string(buffer.text),
              (std::string(500, 'r') + unit).substr(0, kLocalisedMax - 1));
    EXPECT_EQ(buffer.guard[0], '#');

    // A text that fills its buffer without a terminator ends at the buffer's last byte.
    std::memset(buffer.text, 'x', kLocalisedMax);
    std::memcpy(buffer.text + 100, " $004.001 ", 10);
    EXPECT_EQ(orv::localiseInPlace(buffer.text, table.data(), table.size()), 1);
    EXPECT_EQ(std::strlen(buffer.text), kLocalisedMax - 1);
    EXPECT_EQ(buffer.guard[0], '#');
}

}  // namespace
