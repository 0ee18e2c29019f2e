#include "kinematics/drive_file.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <system_error>

namespace orv {

namespace {

struct Text {
    const char* begin;
    const char* end;
};

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The field without the blanks around it and without one pair of quotes round the rest.
Text fieldText(Text f) {
    while (f.begin < f.end && isBlank(*f.begin)) ++f.begin;
    while (f.end > f.begin && isBlank(f.end[-1])) --f.end;
    if (f.end - f.begin >= 2 && *f.begin == '"' && f.end[-1] == '"') ++f.begin, --f.end;
    return f;
}

// Counts saturate far below the long long range: only their sign matters for huge ones.
constexpr long long kSaturated = 1'000'000'000'000'000LL;

long long saturatingAdd(long long a, long long b) {
    return std::clamp(a + b, -kSaturated, kSaturated);
}

enum class Number { ok, bad, infinite };

// A decimal number as strtod reads it in the C locale, "," or "." as the point; nothing else
// (no blanks, hex, inf or nan). scratch is reused from field to field, so a file costs at most
// its longest field.
Number parseDecimal(Text f, std::string& scratch, double& value) {
    const char* p = f.begin;
    bool negative = false;
    if (p < f.end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    const char* const digits = p;
    // The power of ten just above the leading digit, to tell an overflow from an underflow.
    long long magnitude = 0;
    bool nonZero = false, anyDigit = false;
    for (; p < f.end && isDigit(*p); ++p) {
        anyDigit = true;
        nonZero = nonZero || *p != '0';
        if (nonZero) magnitude = saturatingAdd(magnitude, 1);
    }
    if (p < f.end && (*p == '.' || *p == ',')) {
        for (++p; p < f.end && isDigit(*p); ++p) {
            anyDigit = true;
            if (!nonZero && *p == '0') magnitude = saturatingAdd(magnitude, -1);
            nonZero = nonZero || *p != '0';
        }
    }
    if (!anyDigit) return Number::bad;
    if (p < f.end && (*p == 'e' || *p == 'E')) {
        ++p;
        bool negativeExponent = false;
        if (p < f.end && (*p == '+' || *p == '-')) negativeExponent = *p++ == '-';
        if (p == f.end || !isDigit(*p)) return Number::bad;
        long long exponent = 0;
        for (; p < f.end && isDigit(*p); ++p)
            exponent = std::min(exponent * 10 + (*p - '0'), kSaturated);
        magnitude = saturatingAdd(magnitude, negativeExponent ? -exponent : exponent);
    }
    if (p != f.end) return Number::bad;

    // from_chars takes no "+" and no ",", and is the same in every locale and on every
    // platform we build for.
    scratch.assign(negative ? "-" : "");
    scratch.append(digits, f.end);
    std::replace(scratch.begin(), scratch.end(), ',', '.');
    double parsed = 0.0;
    const char* const end = scratch.data() + scratch.size();
    const std::from_chars_result r = std::from_chars(scratch.data(), end, parsed);
    if (r.ec == std::errc::result_out_of_range) {
        // Out of range is either past the largest double or below the smallest; strtod gives
        // an infinity for the one and a zero of the number's sign for the other.
        if (magnitude > 0) return Number::infinite;
        value = negative ? -0.0 : 0.0;
        return Number::ok;
    }
    if (r.ec != std::errc() || r.ptr != end) return Number::bad;
    if (!std::isfinite(parsed)) return Number::infinite;
    value = parsed;
    return Number::ok;
}

// A whole decimal number with an optional sign that fits 32 bits.
bool parseWhole(Text f, int32_t& value) {
    const char* p = f.begin;
    bool negative = false;
    if (p < f.end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    if (p == f.end) return false;
    long long v = 0;
    for (; p < f.end; ++p) {
        if (!isDigit(*p)) return false;
        v = std::min(v * 10 + (*p - '0'), 1LL << 32);  // saturates well past the int32 range
    }
    if (negative) v = -v;
    if (v < INT32_MIN || v > INT32_MAX) return false;
    value = int32_t(v);
    return true;
}

// One "W;T;F;H" line into phase; the fault when it is not one.
DriveFileFault parsePhase(Text line, std::string& scratch, OrvPhase& phase) {
    Text fields[4];
    int n = 0;
    const char* start = line.begin;
    for (const char* p = line.begin;; ++p) {
        if (p == line.end || *p == ';') {
            if (n == 4) return DriveFileFault::fields;
            fields[n++] = fieldText({start, p});
            if (p == line.end) break;
            start = p + 1;
        }
    }
    if (n != 4) return DriveFileFault::fields;

    std::memset(&phase, 0, sizeof phase);
    double w = 0.0, t = 0.0;
    int32_t f = 0, h = 0;
    for (int k = 0; k < 2; ++k) {
        switch (parseDecimal(fields[k], scratch, k == 0 ? w : t)) {
            case Number::ok: break;
            case Number::bad: return DriveFileFault::number;
            case Number::infinite: return DriveFileFault::notFinite;
        }
    }
    if (!parseWhole(fields[2], f)) return DriveFileFault::number;
    if (f < 0 || f > 4) return DriveFileFault::function;
    if (!parseWhole(fields[3], h)) return DriveFileFault::number;
    phase.W = w;
    phase.T = t;
    phase.F = f;
    phase.H = h;
    return DriveFileFault::none;
}

bool isBlankLine(Text line) {
    return std::all_of(line.begin, line.end, isBlank);
}

// printf's "%.7G" digits without its locale: to_chars writes the same text in lower case.
void appendNumber(std::string& out, double v) {
    char buf[32];
    const std::to_chars_result r =
        std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, 7);
    for (const char* c = buf; c < r.ptr; ++c) out += *c >= 'a' && *c <= 'z' ? char(*c - 32) : *c;
}

void appendWhole(std::string& out, int32_t v) {
    char buf[16];
    const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, v);
    out.append(buf, r.ptr);
}

}  // namespace

DriveFileRead readDriveFile(const char* text, size_t size, OrvPhase (&phases)[kDrivePhasesMost]) {
    DriveFileRead result;
    const char* p = text;
    const char* const end = text + size;
    if (size >= 3 && std::memcmp(p, "\xEF\xBB\xBF", 3) == 0) p += 3;

    // Read aside first: a refused file leaves the caller's phases as they were.
    OrvPhase read[kDrivePhasesMost];
    std::string scratch;
    int count = 0, line = 0;
    while (p < end) {
        if (line < INT_MAX) ++line;
        const char* const lf = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p)));
        Text current{p, lf ? lf : end};
        p = lf ? lf + 1 : end;
        // Only a CR right before the LF ends a line; any other belongs to it.
        if (lf && current.end > current.begin && current.end[-1] == '\r') --current.end;
        if (isBlankLine(current)) continue;

        DriveFileFault fault = DriveFileFault::tooMany;
        if (count < kDrivePhasesMost) fault = parsePhase(current, scratch, read[count]);
        if (fault != DriveFileFault::none) {
            result.fault = fault;
            result.line = line;
            return result;
        }
        ++count;
    }
    if (count > 0) std::memcpy(phases, read, size_t(count) * sizeof(OrvPhase));
    result.count = count;
    return result;
}

std::string writeDriveFile(const OrvPhase* phases, int count) {
    std::string out;
    if (!phases) return out;
    count = std::clamp(count, 0, kDrivePhasesMost);
    out.reserve(size_t(count) * 48);
    for (int i = 0; i < count; ++i) {
        appendNumber(out, phases[i].W);
        out += ';';
        appendNumber(out, phases[i].T);
        out += ';';
        appendWhole(out, phases[i].F);
        out += ';';
        appendWhole(out, phases[i].H);
        out += "\r\n";
    }
    return out;
}

}  // namespace orv
