// The link info text: axis flags, limits, current values, steps, the coupling ratio and both
// axes' drives, without geometry.
//
// Point counts above the table (256) or below 0 are kept as given, but only the table's own
// points are ever read or written.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "core/info_text.h"

namespace orv {

namespace {

struct ScalarField {
    const char* key;
    bool real;
    size_t offset;
};

// In the order the text carries them; the last two are the point counts.
const ScalarField kScalars[] = {
    {"Lin=", false, offsetof(Lnk, lin)},
    {"Rot=", false, offsetof(Lnk, rot)},
    {"Coupled=", false, offsetof(Lnk, coupled)},
    {"Follow=", false, offsetof(Lnk, follow)},
    {"CollCheck=", false, offsetof(Lnk, collCheck)},
    {"LinMin=", true, offsetof(Lnk, linMin)},
    {"LinMax=", true, offsetof(Lnk, linMax)},
    {"LinCur=", true, offsetof(Lnk, linCur)},
    {"LinStep=", true, offsetof(Lnk, linStep)},
    {"RotMin=", true, offsetof(Lnk, rotMin)},
    {"RotMax=", true, offsetof(Lnk, rotMax)},
    {"RotCur=", true, offsetof(Lnk, rotCur)},
    {"RotStep=", true, offsetof(Lnk, rotStep)},
    {"Ratio=", true, offsetof(Lnk, ratio)},
    {"LinDrive=", false, offsetof(Lnk, linDrive.on)},
    {"RotDrive=", false, offsetof(Lnk, rotDrive.on)},
    {"LDI=", false, offsetof(Lnk, linDrive.inverse)},
    {"RDI=", false, offsetof(Lnk, rotDrive.inverse)},
    {"LDC=", false, offsetof(Lnk, linDrive.cyclic)},
    {"RDC=", false, offsetof(Lnk, rotDrive.cyclic)},
    {"LDD=", true, offsetof(Lnk, linDrive.damping)},
    {"RDD=", true, offsetof(Lnk, rotDrive.damping)},
    {"LDF=", false, offsetof(Lnk, linDrive.stretch)},
    {"RDF=", false, offsetof(Lnk, rotDrive.stretch)},
    {"LDP=", false, offsetof(Lnk, linDrive.count)},
    {"RDP=", false, offsetof(Lnk, rotDrive.count)},
};
constexpr int kScalarCount = int(sizeof kScalars / sizeof kScalars[0]);
constexpr int kLinearCountKey = 24, kRotationalCountKey = 25;

struct KeyNames {
    const char* keys[kScalarCount];
    KeyNames() {
        for (int k = 0; k < kScalarCount; ++k) keys[k] = kScalars[k].key;
    }
};
const KeyNames kKeyNames;

const char kAxisLetter[2] = {'L', 'R'};
const char kPointLetter[kPointKeys] = {'T', 'W', 'F', 'H'};

// Fields of the record are packed on 4 bytes: copy rather than dereference.
template <typename T>
T fieldAt(const Lnk& lnk, size_t offset) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(&lnk) + offset, sizeof value);
    return value;
}

template <typename T>
void setFieldAt(Lnk& lnk, size_t offset, T value) {
    std::memcpy(reinterpret_cast<char*>(&lnk) + offset, &value, sizeof value);
}

const OrvDrive& driveOf(const Lnk& lnk, int axis) {
    return axis == 0 ? lnk.linDrive : lnk.rotDrive;
}

void writeLnkInfo(const Lnk& lnk, InfoWriter& out) {
    for (const ScalarField& field : kScalars) {
        if (field.real)
            out.putReal(field.key, fieldAt<double>(lnk, field.offset));
        else
            out.putInt(field.key, fieldAt<int32_t>(lnk, field.offset));
    }
    for (int axis = 0; axis < 2; ++axis) {
        const OrvDrive& drive = driveOf(lnk, axis);
        const int count = std::min(drive.count, kInfoPointsPerAxis);
        for (int i = 1; i <= count; ++i) {
            const OrvPhase& phase = drive.phases[i - 1];
            char key[kPointKeys][16];
            for (int k = 0; k < kPointKeys; ++k)
                std::snprintf(key[k], sizeof key[k], "%c%c%i=", kAxisLetter[axis],
                              kPointLetter[k], i);
            out.putReal(key[kPointT], phase.T);
            out.putReal(key[kPointW], phase.W);
            out.putInt(key[kPointF], phase.F);
            out.putInt(key[kPointH], phase.H);
        }
    }
}

// With the count in the text, exactly that many points (as far as the table goes); without
// it, at most 10, up to the first point that has none of T, W and F: that point's three
// fields are still set to 0, but it is not counted.
void readPoints(OrvDrive& drive, const InfoFields& fields, int axis, const char* countValue) {
    const bool counted = countValue != nullptr;
    drive.count = fieldInt(countValue);
    const int limit = std::min(counted ? drive.count : 10, kInfoPointsPerAxis);
    int i = 1;
    for (; i <= limit; ++i) {
        OrvPhase& phase = drive.phases[i - 1];
        const char* t = fields.pointValue(axis, kPointT, i);
        const char* w = fields.pointValue(axis, kPointW, i);
        const char* f = fields.pointValue(axis, kPointF, i);
        phase.T = fieldReal(t);
        phase.W = fieldReal(w);
        phase.F = fieldInt(f);
        if (!counted && !t && !w && !f) break;
        phase.H = fieldInt(fields.pointValue(axis, kPointH, i));
    }
    if (!counted) drive.count = i - 1;
}

}  // namespace

void getLnkInfo(const Lnk& lnk, char* text) {
    InfoWriter out(text);
    writeLnkInfo(lnk, out);
}

uint32_t lnkInfoSize(const Lnk& lnk) {
    InfoWriter out(nullptr);
    writeLnkInfo(lnk, out);
    return uint32_t(out.length() + 1);
}

int32_t putLnkInfo(Lnk& lnk, const char* text) {
    const InfoFields fields(text, kKeyNames.keys, kScalarCount, true);
    for (int k = 0; k < kLinearCountKey; ++k) {
        if (kScalars[k].real)
            setFieldAt(lnk, kScalars[k].offset, fieldReal(fields.value(k)));
        else
            setFieldAt(lnk, kScalars[k].offset, fieldInt(fields.value(k)));
    }
    readPoints(lnk.linDrive, fields, 0, fields.value(kLinearCountKey));
    readPoints(lnk.rotDrive, fields, 1, fields.value(kRotationalCountKey));
    return fields.value(kRotationalCountKey) ? 1 : 0;
}

}  // namespace orv
