/* The public header compiled as C99 (with -pedantic-errors): a C host sees the same layouts
 * as the library. The checks fail at compile time; the function hands the sizes to the test. */
#include <stddef.h>

#include "orvanta.h"

#define LAYOUT_CHECK(name, cond) typedef char name[(cond) ? 1 : -1]

LAYOUT_CHECK(env_size, sizeof(Env) == 324);
LAYOUT_CHECK(env_tool, offsetof(Env, tool) == 256);
LAYOUT_CHECK(lgt_size, sizeof(Lgt) == 248);
LAYOUT_CHECK(lgt_tool, offsetof(Lgt, tool) == 176);
LAYOUT_CHECK(mat_size, sizeof(Mat) == 6300);
LAYOUT_CHECK(mat_slots, offsetof(Mat, slots) == 200);
LAYOUT_CHECK(mat_tool, offsetof(Mat, tool) == 6232);
LAYOUT_CHECK(slot_size, sizeof(OrvTextureSlot) == 1496);
LAYOUT_CHECK(slot_pixels, offsetof(OrvTextureSlot, pixels) == 1428);
LAYOUT_CHECK(lnk_size, sizeof(Lnk) == 19080);
LAYOUT_CHECK(lnk_rot_drive, offsetof(Lnk, rotDrive) == 9676);
LAYOUT_CHECK(lnk_tool, offsetof(Lnk, tool) == 19008);
LAYOUT_CHECK(trn_size, sizeof(Trn) == 200);
LAYOUT_CHECK(trn_tool, offsetof(Trn, tool) == 128);

/* The export declarations must be usable from C: take their addresses. */
typedef void (*DefineMatFn)(const Mat*, OrvColorRef, double, int32_t);
typedef void (*DefineEnvFn)(const Env*, OrvColorRef, int32_t);
typedef void (*DefineLgtsFn)(const Env*, OrvColorRef, Lgt* const*, int32_t*, const double*,
                             const double*);

size_t orvantaHeaderRecordSizeInC(int family) {
    DefineMatFn defineMat = ViewerDefineMat;
    DefineEnvFn defineEnv = ViewerDefineEnv;
    DefineLgtsFn defineLgts = ViewerDefineLgts;
    double (*alpha)(const Mat*) = MatAlpha;
    int32_t (*isTexture)(const Mat*) = IsMatTexture;
    if (!defineMat || !defineEnv || !defineLgts || !alpha || !isTexture) return 0;
    switch (family) {
    case 0: return sizeof(Env);
    case 1: return sizeof(Lgt);
    case 2: return sizeof(Mat);
    case 3: return sizeof(Lnk);
    case 4: return sizeof(Trn);
    default: return 0;
    }
}
