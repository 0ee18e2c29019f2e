#include "core/literal_info_reader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "core/info_text.h"

namespace {

int32_t runtimeAtoi(const char* text) {
    return std::atoi(text);
}
double runtimeAtof(const char* text) {
    return std::atof(text);
}

// The field finder: copy, split at ";", the first field that begins with the key wins.
const char* findField(const char* text, const char* key, char (&work)[32768]) {
    std::strcpy(work, text);
    const size_t n = std::strlen(key);
    for (char* field = std::strtok(work, ";"); field; field = std::strtok(nullptr, ";"))
        if (std::strncmp(field, key, n) == 0) return field + n;
    return nullptr;
}

// Record fields are packed on 4 bytes: values go through locals.
template <typename T>
bool find(const char* text, const char* key, T* target, NumberReaders numbers) {
    char work[32768];
    const char* value = findField(text, key, work);
    if constexpr (std::is_same_v<T, double>)
        *target = value ? numbers.readReal(value) : 0.0;
    else
        *target = value ? numbers.readInt(value) : 0;
    return value != nullptr;
}

template <typename T>
T field(const char* text, const char* key, NumberReaders numbers) {
    T v;
    find(text, key, &v, numbers);
    return v;
}

bool readAxis(OrvDrive& drive, const char* text, char axis, NumberReaders numbers) {
    char key[16];
    std::snprintf(key, sizeof key, "%cDP=", axis);
    int32_t count;
    const bool counted = find(text, key, &count, numbers);
    drive.count = count;
    const int32_t limit = counted ? (count < 256 ? count : 256) : 10;
    int32_t i = 1;
    for (; i <= limit; ++i) {
        OrvPhase& phase = drive.phases[i - 1];
        double t, w;
        int32_t f, h;
        std::snprintf(key, sizeof key, "%cT%i=", axis, i);
        bool found = find(text, key, &t, numbers);
        phase.T = t;
        std::snprintf(key, sizeof key, "%cW%i=", axis, i);
        found |= find(text, key, &w, numbers);
        phase.W = w;
        std::snprintf(key, sizeof key, "%cF%i=", axis, i);
        found |= find(text, key, &f, numbers);
        phase.F = f;
        if (!counted && !found) break;
        std::snprintf(key, sizeof key, "%cH%i=", axis, i);
        find(text, key, &h, numbers);
        phase.H = h;
    }
    if (!counted) drive.count = i - 1;
    return counted;
}

}  // namespace

NumberReaders libraryNumbers() {
    return {orv::infoAtoi, orv::infoAtof};
}
NumberReaders runtimeNumbers() {
    return {runtimeAtoi, runtimeAtof};
}

int32_t literalPutLnkInfo(Lnk& lnk, const char* text, NumberReaders numbers) {
    lnk.lin = field<int32_t>(text, "Lin=", numbers);
    lnk.rot = field<int32_t>(text, "Rot=", numbers);
    lnk.coupled = field<int32_t>(text, "Coupled=", numbers);
    lnk.follow = field<int32_t>(text, "Follow=", numbers);
    lnk.collCheck = field<int32_t>(text, "CollCheck=", numbers);
    lnk.linMin = field<double>(text, "LinMin=", numbers);
    lnk.linMax = field<double>(text, "LinMax=", numbers);
    lnk.linCur = field<double>(text, "LinCur=", numbers);
    lnk.linStep = field<double>(text, "LinStep=", numbers);
    lnk.rotMin = field<double>(text, "RotMin=", numbers);
    lnk.rotMax = field<double>(text, "RotMax=", numbers);
    lnk.rotCur = field<double>(text, "RotCur=", numbers);
    lnk.rotStep = field<double>(text, "RotStep=", numbers);
    lnk.ratio = field<double>(text, "Ratio=", numbers);
    lnk.linDrive.on = field<int32_t>(text, "LinDrive=", numbers);
    lnk.rotDrive.on = field<int32_t>(text, "RotDrive=", numbers);
    lnk.linDrive.inverse = field<int32_t>(text, "LDI=", numbers);
    lnk.rotDrive.inverse = field<int32_t>(text, "RDI=", numbers);
    lnk.linDrive.cyclic = field<int32_t>(text, "LDC=", numbers);
    lnk.rotDrive.cyclic = field<int32_t>(text, "RDC=", numbers);
    lnk.linDrive.damping = field<double>(text, "LDD=", numbers);
    lnk.rotDrive.damping = field<double>(text, "RDD=", numbers);
    lnk.linDrive.stretch = field<int32_t>(text, "LDF=", numbers);
    lnk.rotDrive.stretch = field<int32_t>(text, "RDF=", numbers);
    readAxis(lnk.linDrive, text, 'L', numbers);
    return readAxis(lnk.rotDrive, text, 'R', numbers) ? 1 : 0;
}

int32_t literalPutTrnInfo(Trn& trn, const char* text, NumberReaders numbers) {
    trn.active = field<int32_t>(text, "Active=", numbers);
    trn.invert = field<int32_t>(text, "Invert=", numbers);
    trn.linLin = field<double>(text, "LinLin=", numbers);
    trn.linRot = field<double>(text, "LinRot=", numbers);
    trn.rotRot = field<double>(text, "RotRot=", numbers);
    double v;
    const bool found = find(text, "RotLin=", &v, numbers);
    trn.rotLin = v;
    return found ? 1 : 0;
}
