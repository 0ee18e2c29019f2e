// Info text grammar: the two number readers, the one-pass field finder and the writer.
#include "core/info_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace orv {

// ---- Numbers ---------------------------------------------------------------------------------

namespace {

// The C locale's white space, which both runtimes skip before a number.
bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Significant digits kept for the conversion. A double's rounding never depends on more than
// 768 of them; a nonzero digit beyond this is kept as a trailing 1, which rounds the same.
constexpr size_t kMaxSignificant = 800;
constexpr long long kExponentLimit = 100000;  // far beyond every finite, nonzero double

}  // namespace

int32_t infoAtoi(const char* text) {
    const char* p = text;
    while (isBlank(*p)) ++p;
    bool minus = false;
    if (*p == '+' || *p == '-') minus = *p++ == '-';
    // The Windows runtime accumulates without an overflow check: the value wraps.
    uint32_t value = 0;
    while (isDigit(*p)) value = value * 10u + uint32_t(*p++ - '0');
    return int32_t(minus ? 0u - value : value);
}

double infoAtof(const char* text) {
    const char* p = text;
    while (isBlank(*p)) ++p;
    bool minus = false;
    if (*p == '+' || *p == '-') minus = *p++ == '-';

    // The value is 0.D x 10^exponent, D the significant digits without leading zeros.
    char digits[kMaxSignificant + 32] = {'0', '.'};
    size_t n = 2;
    bool anyDigit = false, nonzero = false, dropped = false;
    long long exponent = 0;
    auto take = [&](char c) {
        nonzero = true;
        if (n < 2 + kMaxSignificant)
            digits[n++] = c;
        else if (c != '0')
            dropped = true;
    };
    for (; isDigit(*p); ++p) {
        anyDigit = true;
        if (nonzero || *p != '0') {
            take(*p);
            ++exponent;
        }
    }
    if (*p == '.') {
        for (++p; isDigit(*p); ++p) {
            anyDigit = true;
            if (nonzero || *p != '0')
                take(*p);
            else
                --exponent;
        }
    }
    if (!anyDigit) return 0.0;
    if (*p == 'e' || *p == 'E' || *p == 'd' || *p == 'D') {
        const char* e = p + 1;
        bool negative = false;
        if (*e == '+' || *e == '-') negative = *e++ == '-';
        long long value = 0;
        for (; isDigit(*e); ++e)
            if (value < kExponentLimit) value = value * 10 + (*e - '0');
        exponent += negative ? -value : value;
    }
    if (!nonzero) return minus ? -0.0 : 0.0;
    if (dropped) digits[n++] = '1';
    if (exponent > kExponentLimit) exponent = kExponentLimit;
    if (exponent < -kExponentLimit) exponent = -kExponentLimit;
    n += size_t(std::snprintf(digits + n, sizeof digits - n, "e%lld", exponent));

    double value = 0.0;
    if (std::from_chars(digits, digits + n, value).ec == std::errc::result_out_of_range)
        value = exponent > 0 ? HUGE_VAL : 0.0;
    return minus ? -value : value;
}

// ---- Finding fields --------------------------------------------------------------------------

namespace {

int pointKeyOf(char c) {
    switch (c) {
        case 'T': return kPointT;
        case 'W': return kPointW;
        case 'F': return kPointF;
        case 'H': return kPointH;
        default: return -1;
    }
}

}  // namespace

InfoFields::InfoFields(const char* text, const char* const* keys, int keyCount,
                       bool withPoints) {
    size_t keyLength[kMaxKeys];
    for (int k = 0; k < keyCount; ++k) keyLength[k] = std::strlen(keys[k]);

    const char* p = text;
    while (*p) {
        if (*p == ';') {
            ++p;
            continue;
        }
        // A field belongs to the key made of its characters up to and including its first
        // "=": keys contain no other "=", so no other key can be a prefix of the field.
        const char* field = p;
        while (*p && *p != ';' && *p != '=') ++p;
        if (*p == '=') {
            const size_t length = size_t(p - field) + 1;
            const char* value = p + 1;
            const int which = length >= 4 ? pointKeyOf(field[1]) : -1;
            if (withPoints && which >= 0 && (field[0] == 'L' || field[0] == 'R') &&
                field[2] >= '1' && field[2] <= '9' && length <= 6) {
                // "%i" of 1 to 256: digits without a leading zero.
                int point = 0;
                const char* d = field + 2;
                for (; isDigit(*d); ++d) point = point * 10 + (*d - '0');
                if (d == p && point <= kInfoPointsPerAxis) {
                    const char*& slot = points_[field[0] == 'R'][which][point - 1];
                    if (!slot) slot = value;
                }
            } else {
                for (int k = 0; k < keyCount; ++k) {
                    if (keyLength[k] == length && std::memcmp(keys[k], field, length) == 0) {
                        if (!fixed_[k]) fixed_[k] = value;
                        break;
                    }
                }
            }
        }
        while (*p && *p != ';') ++p;
    }
}

// ---- Writing fields --------------------------------------------------------------------------

void InfoWriter::append(const char* key, const char* value) {
    const size_t keyLength = std::strlen(key), valueLength = std::strlen(value);
    if (out_) {
        std::memcpy(out_ + length_, key, keyLength);
        std::memcpy(out_ + length_ + keyLength, value, valueLength + 1);
    }
    length_ += keyLength + valueLength;
}

void InfoWriter::putInt(const char* key, int32_t value) {
    if (value == 0) return;
    char text[16];
    std::snprintf(text, sizeof text, "%i;", value);
    append(key, text);
}

void InfoWriter::putReal(const char* key, double value) {
    if (!(value < 0.0 || value > 0.0)) return;
    // The longest "%.3f" of a double: a minus, 309 digits, the point and three decimals.
    char text[352];
    std::snprintf(text, sizeof text, "%.3f;", value);
    append(key, text);
}

}  // namespace orv
