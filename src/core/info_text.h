// Info texts: "Key=value;" fields with "%i;" integers and "%.3f;" reals, zero values left out
// and absent keys read as 0. Links and transmissions exchange their settings with the host in
// this form.
//
// Reading follows the field finder the format is defined by: fields split at ";" (empty
// fields vanish), a field belongs to the key it begins with, the first such field wins, and
// its value is read as the Windows C runtime's atoi and atof read it. Instead of one pass over
// the text per key, InfoFields finds every key's field in one pass.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvanta.h"

namespace orv {

// ---- Numbers as the Windows C runtime reads them ---------------------------------------------
// atoi: leading white space, an optional sign, decimal digits, wrapping modulo 2^32.
int32_t infoAtoi(const char* text);
// atof: leading white space, an optional sign, digits with an optional ".", an optional
// exponent after "e", "E", "d" or "D"; correctly rounded. No hexadecimal, infinity or NaN
// spellings (they read as 0). Overflow gives an infinity, underflow a zero of the sign.
double infoAtof(const char* text);

// ---- Finding fields --------------------------------------------------------------------------

// The per-point keys of a link text: "LT%i=" ... "RH%i=", axis 0 linear, 1 rotational.
enum PointKey { kPointT, kPointW, kPointF, kPointH, kPointKeys };
constexpr int kInfoPointsPerAxis = 256;  // the points a drive table holds

// Where the value of each key's first field starts, or null when the text has no such field.
class InfoFields {
public:
    // keys: the fixed keys, each ending in "="; with points, the point keys of both axes for
    // points 1 to kInfoPointsPerAxis are found too.
    InfoFields(const char* text, const char* const* keys, int keyCount, bool withPoints);

    const char* value(int key) const { return fixed_[key]; }
    // point counts from 1
    const char* pointValue(int axis, PointKey which, int point) const {
        return points_[axis][which][point - 1];
    }

private:
    static constexpr int kMaxKeys = 32;
    const char* fixed_[kMaxKeys] = {};
    const char* points_[2][kPointKeys][kInfoPointsPerAxis] = {};
};

// The field's value, or 0 when absent (the field finder stores 0 then).
inline int32_t fieldInt(const char* value) { return value ? infoAtoi(value) : 0; }
inline double fieldReal(const char* value) { return value ? infoAtof(value) : 0.0; }

// ---- Writing fields --------------------------------------------------------------------------

// Appends fields to a text, or only counts its length when out is null.
class InfoWriter {
public:
    explicit InfoWriter(char* out) : out_(out) {
        if (out_) *out_ = '\0';
    }
    // key and "%i;" unless value is 0
    void putInt(const char* key, int32_t value);
    // key and "%.3f;" when value is less or greater than 0 (so never for NaN)
    void putReal(const char* key, double value);
    // the length so far, without the terminator
    size_t length() const { return length_; }

private:
    void append(const char* key, const char* value);
    char* out_;
    size_t length_ = 0;
};

// ---- Links and transmissions -----------------------------------------------------------------

// The link text's fields: scalars in their order, then the points of both axes.
void getLnkInfo(const Lnk& lnk, char* text);
// Length of getLnkInfo's text, terminator included.
uint32_t lnkInfoSize(const Lnk& lnk);
// Sets every field of the text from it (absent: 0); returns whether "RDP=" was present.
// Point counts are stored as given, but only points 1 to 256 of a table are read or written.
int32_t putLnkInfo(Lnk& lnk, const char* text);

void getTrnInfo(const Trn& trn, char* text);
// Returns whether "RotLin=" was present.
int32_t putTrnInfo(Trn& trn, const char* text);

}  // namespace orv
