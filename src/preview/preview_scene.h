// What the preview shows, apart from how it draws it: the local environment and lights that
// "lok. Licht" puts in place of the edited ones, and the cube in its fixed pose. Portable, so
// that the shaded picture (OpenGL) and the raytraced one (the library's engine) show the same
// scene.
#pragma once

#include "math/vec3.h"
#include "orvanta.h"

namespace orv {

// The local environment and the null-terminated local lights; made anew on every update.
struct PreviewLocals {
    Env* env = nullptr;
    Lgt* lights[2 + 3] = {};
};

// The local environment has its defaults with the standard lights off, and the ambient,
// background and fog of envSource when one is given. The lights are a copy of lightSource
// moved onto the z axis at its own distance from its target, aiming at the origin, or without
// one three grey lights at (-1, 1, 1), (1, 1, 1) and (0, 0, 1).
void makePreviewLocals(PreviewLocals& locals, const Env* envSource, const Lgt* lightSource);
void freePreviewLocals(PreviewLocals& locals);

// The cube from -0.5 to 0.5: six faces of four corners each, counter-clockwise seen from
// outside.
constexpr int kCubeFaces = 6;
extern const Vec3 kCubeCorners[kCubeFaces][4];
// A cube corner in the pose of the picture: moved by (0.05, 0.05, 0), turned -20 degrees
// about y and then 20 degrees about x, as the shaded picture's model view places it.
Vec3 posedCubeCorner(const Vec3& corner);

// The sphere's radius and the camera of every preview picture.
constexpr double kSphereRadius = 0.7;
constexpr double kPreviewEyeZ = 5.0, kPreviewFov = 20.0;

}  // namespace orv
