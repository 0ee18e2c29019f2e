#include "core/literal_info_reader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/info_text.h"

namespace {

int32_t runtimeAtoi(const char* text) { return std::atoi(text); }
double runtimeAtof(const char* text) { return std::atof(text); }

// The field finder: copy, split at ";", the first field that begins with the key wins.
const char* findField(const char* text, const char* key, char (&work)[32768]) {
    std::strcpy(work, text);
    const size_t n = std::strlen(key);
    for (char* field = std::strtok(work, ";"); field; field = std::strtok(nullptr, ";"))
        if (std::strncmp(field, key, n) == 0) return field + n;
    return nullptr;
}

bool findInt(const char* text, const char* key, int32_t* target, NumberReaders numbers) {
    char work[32768];
    const char* value = findField(text, key, work);
    *target = value ? numbers.readInt(value) : 0;
    return value != nullptr;
}

bool findReal(const char* text, const char* key, double* target, NumberReaders numbers) {
    char work[32768];
    const char* value = findField(text, key, work);
    *target = value ? numbers.readReal(value) : 0.0;
    return value != nullptr;
}

// Record fields are packed on 4 bytes: values go through locals.
int32_t intField(const char* text, const char* key, NumberReaders numbers) {
    int32_t v;
    findInt(text, key, &v, numbers);
    return v;
}

double realField(const char* text, const char* key, NumberReaders numbers) {
    double v;
    findReal(text, key, &v, numbers);
    return v;
}

bool readAxis(OrvDrive& drive, const char* text, char axis, NumberReaders numbers) {
    char key[16];
    std::snprintf(key, sizeof key, "%cDP=", axis);
    int32_t count;
    const bool counted = findInt(text, key, &count, numbers);
    drive.count = count;
    const int32_t limit = counted ? (count < 256 ? count : 256) : 10;
    int32_t i = 1;
    for (; i <= limit; ++i) {
        OrvPhase& phase = drive.phases[i - 1];
        double t, w;
        int32_t f, h;
        std::snprintf(key, sizeof key, "%cT%i=", axis, i);
        bool found = findReal(text, key, &t, numbers);
        phase.T = t;
        std::snprintf(key, sizeof key, "%cW%i=", axis, i);
        found |= findReal(text, key, &w, numbers);
        phase.W = w;
        std::snprintf(key, sizeof key, "%cF%i=", axis, i);
        found |= findInt(text, key, &f, numbers);
        phase.F = f;
        if (!counted && !found) break;
        std::snprintf(key, sizeof key, "%cH%i=", axis, i);
        findInt(text, key, &h, numbers);
        phase.H = h;
    }
    if (!counted) drive.count = i - 1;
    return counted;
}

}  // namespace

NumberReaders libraryNumbers() { return {orv::infoAtoi, orv::infoAtof}; }
NumberReaders runtimeNumbers() { return {runtimeAtoi, runtimeAtof}; }

int32_t literalPutLnkInfo(Lnk& lnk, const char* text, NumberReaders numbers) {
    lnk.lin = intField(text, "Lin=", numbers);
    lnk.rot = intField(text, "Rot=", numbers);
    lnk.coupled = intField(text, "Coupled=", numbers);
    lnk.follow = intField(text, "Follow=", numbers);
    lnk.collCheck = intField(text, "CollCheck=", numbers);
    lnk.linMin = realField(text, "LinMin=", numbers);
    lnk.linMax = realField(text, "LinMax=", numbers);
    lnk.linCur = realField(text, "LinCur=", numbers);
    lnk.linStep = realField(text, "LinStep=", numbers);
    lnk.rotMin = realField(text, "RotMin=", numbers);
    lnk.rotMax = realField(text, "RotMax=", numbers);
    lnk.rotCur = realField(text, "RotCur=", numbers);
    lnk.rotStep = realField(text, "RotStep=", numbers);
    lnk.ratio = realField(text, "Ratio=", numbers);
    lnk.linDrive.on = intField(text, "LinDrive=", numbers);
    lnk.rotDrive.on = intField(text, "RotDrive=", numbers);
    lnk.linDrive.inverse = intField(text, "LDI=", numbers);
    lnk.rotDrive.inverse = intField(text, "RDI=", numbers);
    lnk.linDrive.cyclic = intField(text, "LDC=", numbers);
    lnk.rotDrive.cyclic = intField(text, "RDC=", numbers);
    lnk.linDrive.damping = realField(text, "LDD=", numbers);
    lnk.rotDrive.damping = realField(text, "RDD=", numbers);
    lnk.linDrive.stretch = intField(text, "LDF=", numbers);
    lnk.rotDrive.stretch = intField(text, "RDF=", numbers);
    readAxis(lnk.linDrive, text, 'L', numbers);
    return readAxis(lnk.rotDrive, text, 'R', numbers) ? 1 : 0;
}

int32_t literalPutTrnInfo(Trn& trn, const char* text, NumberReaders numbers) {
    trn.active = intField(text, "Active=", numbers);
    trn.invert = intField(text, "Invert=", numbers);
    trn.linLin = realField(text, "LinLin=", numbers);
    trn.linRot = realField(text, "LinRot=", numbers);
    trn.rotRot = realField(text, "RotRot=", numbers);
    double v;
    const bool found = findReal(text, "RotLin=", &v, numbers);
    trn.rotLin = v;
    return found ? 1 : 0;
}
