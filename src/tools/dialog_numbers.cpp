#include "tools/dialog_numbers.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace orv {

namespace {

constexpr size_t kMaxNumbers = 5;
constexpr double kMillimetresPerInch = 25.4;

bool buildsNumber(char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == ',';
}

}  // namespace

double parseDialogNumber(const char* text) {
    if (!text) return 0.0;
    double numbers[kMaxNumbers] = {};
    size_t count = 0;
    bool divisorNext = false, inches = false;
    // Characters of the number being collected; the input is never longer than this.
    char digits[kNumberInputMax + 1];
    size_t length = 0;

    for (size_t i = 0; i <= kNumberInputMax; ++i) {
        const char c = i < kNumberInputMax ? text[i] : '\0';
        if (c == ' ' || c == '/' || c == '\0') {
            if (length > 0) {
                digits[length] = '\0';
                length = 0;
                // Like atof: the longest prefix that reads as a number, 0 when none does
                // ("1-2" is 1, "--3" and "." are 0).
                const double value = std::strtod(digits, nullptr);
                if (divisorNext) {
                    if (count == 0) return 0.0;
                    numbers[count - 1] /= value;
                    divisorNext = false;
                } else {
                    if (count == kMaxNumbers) return 0.0;
                    numbers[count++] = value;
                }
            }
            if (c == '/') divisorNext = true;
            if (c == '\0') break;
        } else if (c == '"') {
            inches = true;
        } else if (buildsNumber(c)) {
            digits[length++] = c == ',' ? '.' : c;
        }
    }

    double sum = 0.0;
    for (size_t i = 0; i < count; ++i) sum += numbers[i];
    return inches ? sum * kMillimetresPerInch : sum;
}

void formatDialogNumber(double value, NumberFormat format, char* out, size_t size) {
    if (size == 0) return;
    switch (format) {
        case NumberFormat::general: std::snprintf(out, size, "%.7G", value); break;
        case NumberFormat::whole: std::snprintf(out, size, "%.0f", value); break;
        case NumberFormat::oneDecimal: std::snprintf(out, size, "%.1f", value); break;
        case NumberFormat::twoDecimals: std::snprintf(out, size, "%.2f", value); break;
        case NumberFormat::threeDecimals: std::snprintf(out, size, "%.3f", value); break;
        case NumberFormat::percent: {
            // Truncated toward zero and taken modulo 2^32 as the platform's conversion to
            // unsigned does, so a negative percentage wraps instead of being undefined.
            const double hundredths = std::trunc(value * 100.0);
            const bool representable = hundredths > -9.2e18 && hundredths < 9.2e18;
            const auto percent =
                representable ? static_cast<uint32_t>(static_cast<int64_t>(hundredths)) : 0u;
            std::snprintf(out, size, "%u%%", static_cast<unsigned>(percent));
            break;
        }
        default: out[0] = '\0'; break;
    }
}

int32_t roundHalfAway(double value) {
    const double shifted = value < 0.0 ? value - 0.5 : value + 0.5;
    // Out of range (and NaN) gives the x86 conversion's "integer indefinite" rather than
    // undefined behaviour.
    if (!(shifted > -2147483649.0 && shifted < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(shifted);
}

}  // namespace orv
