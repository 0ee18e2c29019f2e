// Ray intersection: the nearest hit over all bodies, or how much a shadow segment is blocked.
// Primary rays are culled by integer screen rectangles, all other rays by boxes.
#pragma once

#include <cstdint>

#include "math/vec3.h"
#include "raytrace/scene.h"

namespace orv {

enum class RayKind { Primary = 0, Reflection = 1, Refraction = 2, Shadow = 3 };

struct Ray {
    Vec3 origin;
    Vec3 dir;
    RayKind kind;
    // Primary rays only: the pixel relative to the image centre, for the rectangle culling.
    int32_t column = 0, row = 0;
};

struct Hit {
    // Nearest parameter so far: 1e99 for a fresh search, the segment end for shadow rays.
    double t = 1e99;
    double visibility = 1.0;  // shadow rays only
    const Body* body = nullptr;
    const Triangle* triangle = nullptr;  // null where the hit is on the preview object
    Vec3 point{};
    bool inside = false;  // the ray leaves the body through this surface
    Vec3 normal{};        // shading normal, turned against the ray when inside
    Vec3 geometricNormal{};
};

// Kinds 0 to 2: the nearest hit with hit.t as the upper bound. True when something was hit.
// Of equal parameters the first in traversal order wins: the preview object, then bodies in
// list order, each octree depth first with a node's triangles before its children.
bool findNearest(const Scene& scene, const Ray& ray, Hit& hit);
// Kind 3: multiplies hit.visibility by 1 - opacity of each occluder met before hit.t, in
// traversal order, shortening the segment at each one. True when the segment is blocked
// (visibility below 1e-6); hit.body and hit.triangle then name the blocker. The preview object
// is an occluder when its material casts shadows.
bool traceShadow(const Scene& scene, const Ray& ray, Hit& hit);

// Kind 3 in a scene whose occluders all block completely (scene.everyOccluderBlocks): true
// when some occluder meets the segment before hit.t where the walk reaches it; hit names that
// one, which need not be the walk's first. The preview object is tried before any triangle and
// leaves the hint as it is. `hint` (-1 for none) is the search's own number of
// a triangle to try first, and is set to the one found. When nothing is found, `unreached`
// tells whether an occluder's triangle accepted the segment where the walk does not reach it.
bool findAnyBlocker(const Scene& scene, const Ray& ray, Hit& hit, int32_t& hint,
                    bool& unreached);

// The searches as a set, so that a render context can be given another implementation with the
// same results (the literal octree walk, for comparison). findAnyBlocker may be null: shadows
// are then always searched in walk order.
struct Intersector {
    bool (*findNearest)(const Scene& scene, const Ray& ray, Hit& hit);
    bool (*traceShadow)(const Scene& scene, const Ray& ray, Hit& hit);
    bool (*findAnyBlocker)(const Scene& scene, const Ray& ray, Hit& hit, int32_t& hint,
                           bool& unreached);
};
extern const Intersector kSceneIntersector;  // the three searches above
// The preview object (scene.preview set) met at 1e-6 < t < bound; `inside` when the ray starts
// inside it and t is the far root.
bool previewSphereHit(const Scene& scene, const Ray& ray, double bound, double& t, bool& inside);
// The shadow cache's test: does this one triangle alone block the segment [1e-6, segmentEnd)?
bool cachedTriangleBlocks(const Body& body, const Triangle& tri, const Ray& ray,
                          double segmentEnd);
// Whether the ray (no length limit) meets the box; a ray starting inside meets its exit face.
bool rayMeetsBox(const Vec3& origin, const Vec3& dir, const Vec3& boxMin, const Vec3& boxMax);

}  // namespace orv
