// Numbers in dialogs: what users type into every numeric edit and how pages show values. The
// parser and the formats are portable; the controls that use them are in dialog_controls_win32.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

// The characters of an edit that the parser reads; the rest is ignored.
constexpr size_t kNumberInputMax = 20;

// Reads at most kNumberInputMax characters of text. Blanks separate numbers that are summed,
// "/" divides the number before it by the one after it, "," is a decimal point, a double quote
// anywhere multiplies the result by 25.4 (inches); other characters are skipped. A divisor
// with no number before it, or a sixth number, makes the result 0.0; so does an empty text.
double parseDialogNumber(const char* text);

// How a page shows a value: "%.7G", "%.0f", "%.1f", "%.2f", "%.3f", or percent ("%u%%" of the value x
// 100, truncated toward zero).
enum class NumberFormat { general, whole, oneDecimal, twoDecimals, threeDecimals, percent };

// Writes value in format into out (size bytes, always terminated).
void formatDialogNumber(double value, NumberFormat format, char* out, size_t size);

// Rounds half away from zero to a 32-bit integer: 2.5 gives 3, -2.5 gives -3.
int32_t roundHalfAway(double value);

}  // namespace orv
