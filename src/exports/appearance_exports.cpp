// Exports of the appearance family: accessors and viewer definitions.
#include "appearance/viewer.h"
#include "orvanta.h"

extern "C" {

ORVANTA_API double MatAlpha(const Mat* mat) { return orv::matAlpha(*mat); }

ORVANTA_API int32_t IsMatTexture(const Mat* mat) { return orv::isMatTexture(*mat); }

ORVANTA_API void ViewerDefineMat(const Mat* mat, OrvColorRef colour, double alpha,
                                 int32_t withTexture) {
    orv::viewerDefineMat(mat, colour, alpha, withTexture != 0);
}

ORVANTA_API void ViewerDefineEnv(const Env* env, OrvColorRef colour, int32_t setClearColour) {
    orv::viewerDefineEnv(env, colour, setClearColour != 0);
}

ORVANTA_API void ViewerDefineLgts(const Env* env, OrvColorRef colour, Lgt* const* lights,
                                  int32_t* lightsOn, const double eye[3], const double view[6]) {
    orv::viewerDefineLgts(env, colour, lights, lightsOn, eye, view);
}

}  // extern "C"
