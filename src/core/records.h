// The five record families and their built-in defaults.
//
// The layouts live in the public header, because hosts store the records byte for byte; this
// header pins every fixed offset so that a layout change fails to compile.
#pragma once

#include <cstddef>

#include "orvanta.h"

namespace orv {

// Zero the whole record, then set the family's built-in field defaults. The name stays empty:
// creating a record names it; viewer code that makes a temporary record needs no name.
void setBuiltInDefaults(Env& env);
void setBuiltInDefaults(Lgt& lgt);
void setBuiltInDefaults(Mat& mat);
void setBuiltInDefaults(Lnk& lnk);
void setBuiltInDefaults(Trn& trn);

}  // namespace orv

// ---- Layout pins ---------------------------------------------------------------------------

static_assert(sizeof(OrvVec3) == 24);
static_assert(alignof(OrvVec3) == 4, "vectors sit at 4-byte offsets inside the records");

static_assert(sizeof(Env) == 324);
static_assert(offsetof(Env, reservedA) == 64);
static_assert(offsetof(Env, reservedB) == 88);
static_assert(offsetof(Env, standardLights) == 112);
static_assert(offsetof(Env, brightness) == 116);
static_assert(offsetof(Env, ambient) == 124);
static_assert(offsetof(Env, background) == 148);
static_assert(offsetof(Env, fogColor) == 172);
static_assert(offsetof(Env, fogDensity) == 196);
static_assert(offsetof(Env, fogNear) == 204);
static_assert(offsetof(Env, fogFar) == 212);
static_assert(offsetof(Env, fogType) == 220);
static_assert(offsetof(Env, tool) == 256);
static_assert(offsetof(Env, reserved2) == 264);

static_assert(sizeof(Lgt) == 248);
static_assert(offsetof(Lgt, color) == 64);
static_assert(offsetof(Lgt, position) == 88);
static_assert(offsetof(Lgt, target) == 112);
static_assert(offsetof(Lgt, type) == 136);
static_assert(offsetof(Lgt, gloss) == 140);
static_assert(offsetof(Lgt, angle) == 148);
static_assert(offsetof(Lgt, sharpness) == 156);
static_assert(offsetof(Lgt, falloff) == 164);
static_assert(offsetof(Lgt, shadow) == 172);
static_assert(offsetof(Lgt, tool) == 176);
static_assert(offsetof(Lgt, reserved) == 184);

static_assert(sizeof(OrvTextureSlot) == 1496);
static_assert(offsetof(OrvTextureSlot, projection) == 0);
static_assert(offsetof(OrvTextureSlot, source) == 4);
static_assert(offsetof(OrvTextureSlot, imagePath) == 8);
static_assert(offsetof(OrvTextureSlot, text) == 264);
static_assert(offsetof(OrvTextureSlot, textColor) == 1288);
static_assert(offsetof(OrvTextureSlot, textBackground) == 1292);
static_assert(offsetof(OrvTextureSlot, textFont) == 1296);
static_assert(offsetof(OrvTextureSlot, textSize) == 1356);
static_assert(offsetof(OrvTextureSlot, textAlignH) == 1360);
static_assert(offsetof(OrvTextureSlot, textAlignV) == 1364);
static_assert(offsetof(OrvTextureSlot, mode) == 1368);
static_assert(offsetof(OrvTextureSlot, filter) == 1372);
static_assert(offsetof(OrvTextureSlot, grey) == 1376);
static_assert(offsetof(OrvTextureSlot, inverted) == 1380);
static_assert(offsetof(OrvTextureSlot, tileX) == 1384);
static_assert(offsetof(OrvTextureSlot, tileY) == 1388);
static_assert(offsetof(OrvTextureSlot, mirrorX) == 1392);
static_assert(offsetof(OrvTextureSlot, mirrorY) == 1396);
static_assert(offsetof(OrvTextureSlot, padded) == 1400);
static_assert(offsetof(OrvTextureSlot, intensity) == 1404);
static_assert(offsetof(OrvTextureSlot, size) == 1412);
static_assert(offsetof(OrvTextureSlot, pixelBytes) == 1420);
static_assert(offsetof(OrvTextureSlot, side) == 1424);
static_assert(offsetof(OrvTextureSlot, pixels) == 1428);
static_assert(offsetof(OrvTextureSlot, reserved) == 1436);

static_assert(sizeof(Mat) == 6300);
static_assert(offsetof(Mat, ambient) == 64);
static_assert(offsetof(Mat, diffuse) == 88);
static_assert(offsetof(Mat, specular) == 112);
static_assert(offsetof(Mat, emission) == 136);
static_assert(offsetof(Mat, shininess) == 160);
static_assert(offsetof(Mat, opacity) == 168);
static_assert(offsetof(Mat, reflection) == 176);
static_assert(offsetof(Mat, refraction) == 184);
static_assert(offsetof(Mat, castShadow) == 192);
static_assert(offsetof(Mat, receiveShadow) == 196);
static_assert(offsetof(Mat, slots) == 200);
static_assert(offsetof(Mat, slots[1]) == 200 + 1496);
static_assert(offsetof(Mat, slots[0].source) == 204);
static_assert(offsetof(Mat, texturePosition) == 6184);
static_assert(offsetof(Mat, textureRotation) == 6208);
static_assert(offsetof(Mat, tool) == 6232);
static_assert(offsetof(Mat, reserved) == 6240);

static_assert(sizeof(OrvPhase) == 36);
static_assert(offsetof(OrvPhase, W) == 0);
static_assert(offsetof(OrvPhase, T) == 8);
static_assert(offsetof(OrvPhase, F) == 16);
static_assert(offsetof(OrvPhase, H) == 20);
static_assert(sizeof(OrvDrive) == 9308);
static_assert(offsetof(OrvDrive, count) == 9216);
static_assert(offsetof(OrvDrive, damping) == 9236);

static_assert(sizeof(Lnk) == 19080);
static_assert(offsetof(Lnk, lin) == 64);
static_assert(offsetof(Lnk, rot) == 68);
static_assert(offsetof(Lnk, coupled) == 72);
static_assert(offsetof(Lnk, follow) == 76);
static_assert(offsetof(Lnk, collCheck) == 80);
static_assert(offsetof(Lnk, linMin) == 84);
static_assert(offsetof(Lnk, linMax) == 92);
static_assert(offsetof(Lnk, linCur) == 100);
static_assert(offsetof(Lnk, linOffset) == 108);
static_assert(offsetof(Lnk, rotMin) == 116);
static_assert(offsetof(Lnk, rotMax) == 124);
static_assert(offsetof(Lnk, rotCur) == 132);
static_assert(offsetof(Lnk, rotOffset) == 140);
static_assert(offsetof(Lnk, ratio) == 148);
static_assert(offsetof(Lnk, linStep) == 156);
static_assert(offsetof(Lnk, rotStep) == 164);
static_assert(offsetof(Lnk, pathCount) == 172);
static_assert(offsetof(Lnk, axisA) == 176);
static_assert(offsetof(Lnk, axisB) == 200);
static_assert(offsetof(Lnk, pathPoints) == 224);
static_assert(offsetof(Lnk, pathBulges) == 232);
static_assert(offsetof(Lnk, pathFrame) == 240);
static_assert(offsetof(Lnk, linDrive) == 368);
static_assert(offsetof(Lnk, linDrive.count) == 9584);
static_assert(offsetof(Lnk, linDrive.on) == 9588);
static_assert(offsetof(Lnk, linDrive.inverse) == 9592);
static_assert(offsetof(Lnk, linDrive.cyclic) == 9596);
static_assert(offsetof(Lnk, linDrive.stretch) == 9600);
static_assert(offsetof(Lnk, linDrive.damping) == 9604);
static_assert(offsetof(Lnk, rotDrive) == 9676);
static_assert(offsetof(Lnk, rotDrive.count) == 18892);
static_assert(offsetof(Lnk, rotDrive.on) == 18896);
static_assert(offsetof(Lnk, rotDrive.inverse) == 18900);
static_assert(offsetof(Lnk, rotDrive.cyclic) == 18904);
static_assert(offsetof(Lnk, rotDrive.stretch) == 18908);
static_assert(offsetof(Lnk, rotDrive.damping) == 18912);
static_assert(offsetof(Lnk, sourceBody) == 18984);
static_assert(offsetof(Lnk, targetBody) == 18992);
static_assert(offsetof(Lnk, linkObject) == 19000);
static_assert(offsetof(Lnk, tool) == 19008);
static_assert(offsetof(Lnk, reserved) == 19016);

static_assert(sizeof(Trn) == 200);
static_assert(offsetof(Trn, active) == 64);
static_assert(offsetof(Trn, invert) == 68);
static_assert(offsetof(Trn, rotRot) == 72);
static_assert(offsetof(Trn, rotLin) == 80);
static_assert(offsetof(Trn, linLin) == 88);
static_assert(offsetof(Trn, linRot) == 96);
static_assert(offsetof(Trn, source) == 104);
static_assert(offsetof(Trn, target) == 112);
static_assert(offsetof(Trn, object) == 120);
static_assert(offsetof(Trn, tool) == 128);
static_assert(offsetof(Trn, reserved) == 136);
