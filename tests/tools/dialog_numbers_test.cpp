// What users type into numeric edits and how pages show values; identical natively and under
// Wine, so only output both C runtimes print alike is asserted.
#include "tools/dialog_numbers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(DialogNumbers, ParsesWhatUsersType) {
    const struct {
        const char* text;
        double expected;
    } cases[] = {
        {"12", 12.0},
        {"", 0.0},
        {"3,5", 3.5},
        {"-,5", -0.5},
        {"1/2", 0.5},
        {"1 1/2", 1.5},
        {"-2 1", -1.0},
        {"  7  ", 7.0},
        {"2\"", 50.8},
        {". 2", 2.0},
        {"--3 4", 4.0},
        {"1 2 3 4 5", 15.0},
        {"1/2/4", 0.125},       // each divisor divides the quotient so far
        {"1 /", 1.0},           // a divisor mark without a divisor
        {"/4", 0.0},            // a divisor without a number before it
        {"1 2 3 4 5/5", 11.0},  // a divisor is not a sixth number
        {"1 2 3 4 5 6", 0.0},
        {"a1b2", 12.0},                  // letters are skipped, they do not separate
        {"\"1 1/2", 38.1},               // the inch mark counts anywhere
        {"1-2", 1.0},                    // each number reads as its longest valid prefix
        {"1                  2", 3.0},   // 20 characters
        {"1                   2", 1.0},  // the 21st is ignored
        {"                   12", 1.0},  // the limit closes the number being collected
        {"12345678901234567890", 12345678901234567890.0},
    };
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(orv::parseDialogNumber(c.text), c.expected) << c.text;
}

TEST(DialogNumbers, FormatsAsPagesShowValues) {
    using F = orv::NumberFormat;
    const struct {
        double value;
        F format;
        size_t size;
        const char* expected;
    } cases[] = {
        {12.25, F::general, 32, "12.25"},     {12.25, F::whole, 32, "12"},
        {12.25, F::twoDecimals, 32, "12.25"}, {12.25, F::threeDecimals, 32, "12.250"},
        {12.25, F::percent, 32, "1225%"},     {12345678.0, F::general, 32, "1.234568E+07"},
        {0.999, F::percent, 32, "99%"},       {-0.5, F::whole, 32, "-0"},
        {12.25, F::threeDecimals, 4, "12."},  // cut, but terminated
    };
    for (const auto& c : cases) {
        char out[32];
        std::string(sizeof out, '#').copy(out, sizeof out);
        orv::formatDialogNumber(c.value, c.format, out, c.size);
        EXPECT_STREQ(out, c.expected) << c.value << " format " << static_cast<int>(c.format);
    }
}

TEST(DialogNumbers, RoundsHalfAwayFromZero) {
    const struct {
        double value;
        int32_t expected;
    } cases[] = {
        {2.5, 3}, {-2.5, -3}, {2.4, 2}, {-2.4, -2}, {-0.5, -1}, {0.0, 0}, {32767.5, 32768},
    };
    for (const auto& c : cases) EXPECT_EQ(orv::roundHalfAway(c.value), c.expected) << c.value;
}

}  // namespace
