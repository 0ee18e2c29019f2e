// The transmission info text: whether the coupling is in force and inverted, and its ratios.
#include "core/info_text.h"

namespace orv {

namespace {

enum { kActive, kInvert, kLinLin, kLinRot, kRotRot, kRotLin, kKeyCount };
const char* const kKeys[kKeyCount] = {"Active=", "Invert=", "LinLin=",
                                      "LinRot=", "RotRot=", "RotLin="};

}  // namespace

void getTrnInfo(const Trn& trn, char* text) {
    InfoWriter out(text);
    out.putInt(kKeys[kActive], trn.active);
    out.putInt(kKeys[kInvert], trn.invert);
    out.putReal(kKeys[kLinLin], trn.linLin);
    out.putReal(kKeys[kLinRot], trn.linRot);
    out.putReal(kKeys[kRotRot], trn.rotRot);
    out.putReal(kKeys[kRotLin], trn.rotLin);
}

int32_t putTrnInfo(Trn& trn, const char* text) {
    const InfoFields fields(text, kKeys, kKeyCount, false);
    trn.active = fieldInt(fields.value(kActive));
    trn.invert = fieldInt(fields.value(kInvert));
    trn.linLin = fieldReal(fields.value(kLinLin));
    trn.linRot = fieldReal(fields.value(kLinRot));
    trn.rotRot = fieldReal(fields.value(kRotRot));
    trn.rotLin = fieldReal(fields.value(kRotLin));
    return fields.value(kRotLin) ? 1 : 0;
}

}  // namespace orv
