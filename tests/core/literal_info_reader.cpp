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

// Record fields are packed on 4 bytes: go through locals.
void intField(const char* text, const char* key, int32_t& field, NumberReaders numbers) {
    int32_t v;
    findInt(text, key, &v, numbers);
    field = v;
}

void realField(const char* text, const char* key, double& field, NumberReaders numbers) {
    double v;
    findReal(text, key, &v, numbers);
    field = v;
}

bool readAxis(OrvDrive& drive, const char* text, char axis, NumberReaders numbers) {
    char key[16];
    std::snprintf(key, sizeof key, "%cDP=", axis);
    int32_t count;
    const bool counted = findInt(text, key, &count, numbers);
    drive.count = count;
    const int32_t limit = counted ? count : 10;
    int32_t i = 1;
    for (; i <= limit; ++i) {
        OrvPhase scratch{};
        OrvPhase& phase = i <= 256 ? drive.phases[i - 1] : scratch;
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
    intField(text, "Lin=", lnk.lin, numbers);
    intField(text, "Rot=", lnk.rot, numbers);
    intField(text, "Coupled=", lnk.coupled, numbers);
    intField(text, "Follow=", lnk.follow, numbers);
    intField(text, "CollCheck=", lnk.collCheck, numbers);
    realField(text, "LinMin=", lnk.linMin, numbers);
    realField(text, "LinMax=", lnk.linMax, numbers);
    realField(text, "LinCur=", lnk.linCur, numbers);
    realField(text, "LinStep=", lnk.linStep, numbers);
    realField(text, "RotMin=", lnk.rotMin, numbers);
    realField(text, "RotMax=", lnk.rotMax, numbers);
    realField(text, "RotCur=", lnk.rotCur, numbers);
    realField(text, "RotStep=", lnk.rotStep, numbers);
    realField(text, "Ratio=", lnk.ratio, numbers);
    intField(text, "LinDrive=", lnk.linDrive.on, numbers);
    intField(text, "RotDrive=", lnk.rotDrive.on, numbers);
    intField(text, "LDI=", lnk.linDrive.inverse, numbers);
    intField(text, "RDI=", lnk.rotDrive.inverse, numbers);
    intField(text, "LDC=", lnk.linDrive.cyclic, numbers);
    intField(text, "RDC=", lnk.rotDrive.cyclic, numbers);
    realField(text, "LDD=", lnk.linDrive.damping, numbers);
    realField(text, "RDD=", lnk.rotDrive.damping, numbers);
    intField(text, "LDF=", lnk.linDrive.stretch, numbers);
    intField(text, "RDF=", lnk.rotDrive.stretch, numbers);
    readAxis(lnk.linDrive, text, 'L', numbers);
    return readAxis(lnk.rotDrive, text, 'R', numbers) ? 1 : 0;
}

int32_t literalPutTrnInfo(Trn& trn, const char* text, NumberReaders numbers) {
    intField(text, "Active=", trn.active, numbers);
    intField(text, "Invert=", trn.invert, numbers);
    realField(text, "LinLin=", trn.linLin, numbers);
    realField(text, "LinRot=", trn.linRot, numbers);
    realField(text, "RotRot=", trn.rotRot, numbers);
    double v;
    const bool found = findReal(text, "RotLin=", &v, numbers);
    trn.rotLin = v;
    return found ? 1 : 0;
}
