// Viewer definitions: the OpenGL state with which the host's own viewer shows a material, the
// environment and the lights. Each function sets every state it describes on the context that
// is current on the calling thread.
#pragma once

#include <cstdint>

#include "orvanta.h"

namespace orv {

// Material colours, shininess, blending and the surface texture. Without a material, a plain
// one of the host colour. The alpha used is the smaller of alpha and the material's opacity.
void viewerDefineMat(const Mat* mat, uint32_t colour, double alpha, bool withTexture);

// Clear colour (when setClearColour) and fog. Without an environment, the built-in one with the
// host colour as background.
void viewerDefineEnv(const Env* env, uint32_t colour, bool setClearColour);

// Light model and lights GL_LIGHT0 upward: scene lights (a null-terminated array) or the
// environment's standard lights. *lightsOn holds the lights on before and receives the lights
// on now; lights beyond the new count are disabled. eye (3) and view (target, up: 6) may be null.
void viewerDefineLgts(const Env* env, uint32_t colour, Lgt* const* lights, int32_t* lightsOn,
                      const double* eye, const double* view);

// The material's opacity, and the surface slot's source (nonzero when it shows a texture).
double matAlpha(const Mat& mat);
int32_t isMatTexture(const Mat& mat);

}  // namespace orv
