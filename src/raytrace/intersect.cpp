#include "raytrace/intersect.h"

#include <cmath>
#include <initializer_list>

#include "raytrace/scene_accel.h"
#include "raytrace/triangle_hit.h"

namespace orv {

namespace {

// The searches of a scene with a preview object, kept out of line: the searches of every other
// scene pay one null test for it.

// Kinds 0 to 2: the preview object's hit when it lies before hit.t, then a nearer triangle's.
__attribute__((noinline)) bool previewNearest(const Scene& scene, const Ray& ray, Hit& hit) {
    double t;
    bool inside;
    if (previewSphereHit(scene, ray, hit.t, t, inside)) {
        hit.t = t;
        hit.body = scene.preview;
        hit.point = ray.origin + t * ray.dir;
        hit.geometricNormal = hit.point - scene.previewCentre;
        normalise(hit.geometricNormal);
        hit.inside = inside;
        hit.normal = inside ? -hit.geometricNormal : hit.geometricNormal;
    }
    if (scene.accel) accelFindNearest(*scene.accel, ray, hit);
    return hit.body != nullptr;
}

// Kind 3: the preview object first, when its material casts shadows, ending the segment where
// the ray meets it; then, unless it blocks the light, the triangles (traceShadow, or
// findAnyBlocker with its hint and `unreached` when they are given).
__attribute__((noinline)) bool previewShadow(const Scene& scene, const Ray& ray, Hit& hit,
                                             int32_t* hint, bool* unreached) {
    const Mat& material = *scene.preview->material;
    double t;
    bool inside;
    if (material.castShadow && previewSphereHit(scene, ray, hit.t, t, inside)) {
        hit.t = t;
        hit.body = scene.preview;
        hit.visibility *= 1.0 - material.opacity;
        if (hit.visibility < kHitEps) return true;
    }
    if (!scene.accel) return false;
    return hint ? accelFindAnyBlocker(*scene.accel, ray, hit, *hint, *unreached)
                : accelTraceShadow(*scene.accel, ray, hit);
}

}  // namespace

bool previewSphereHit(const Scene& scene, const Ray& ray, double bound, double& t,
                      bool& inside) {
    const Vec3 oc = scene.previewCentre - ray.origin;
    const double b = dot(oc, ray.dir);
    const double disc = b * b - dot(oc, oc) + kPreviewRadiusSquared;
    if (disc < 0) return false;
    const double root = std::sqrt(disc);
    t = b - root;
    inside = !(t > kHitEps);
    if (inside) t = b + root;
    return t > kHitEps && t < bound;
}

bool findNearest(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    if (scene.preview) return previewNearest(scene, ray, hit);
    if (scene.accel) accelFindNearest(*scene.accel, ray, hit);
    return hit.triangle != nullptr;
}

bool traceShadow(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    if (scene.preview) return previewShadow(scene, ray, hit, nullptr, nullptr);
    return scene.accel && accelTraceShadow(*scene.accel, ray, hit);
}

bool findAnyBlocker(const Scene& scene, const Ray& ray, Hit& hit, int32_t& hint,
                    bool& unreached) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    unreached = false;
    if (scene.preview) return previewShadow(scene, ray, hit, &hint, &unreached);
    return scene.accel && accelFindAnyBlocker(*scene.accel, ray, hit, hint, unreached);
}

const Intersector kSceneIntersector{findNearest, traceShadow, findAnyBlocker};

bool cachedTriangleBlocks(const Body& body, const Triangle& tri, const Ray& ray,
                          double segmentEnd) {
    double denom, t, u, v;
    Vec3 x;
    if (!rayHitsTriangle(tri, body.twoSided != 0, ray, segmentEnd, denom, t, x, u, v)) {
        return false;
    }
    return blocksLightAlone(*body.material);
}

bool rayMeetsBox(const Vec3& origin, const Vec3& dir, const Vec3& boxMin, const Vec3& boxMax) {
    const double o[3] = {origin.x, origin.y, origin.z};
    const double d[3] = {dir.x, dir.y, dir.z};
    const double lo[3] = {boxMin.x, boxMin.y, boxMin.z};
    const double hi[3] = {boxMax.x, boxMax.y, boxMax.z};
    for (int axis = 2; axis >= 0; --axis) {  // z, y, x
        if (d[axis] == 0.0) continue;
        const int a1 = (axis + 1) % 3;
        const int a2 = (axis + 2) % 3;
        for (const double face : {lo[axis], hi[axis]}) {
            const double t = (face - o[axis]) / d[axis];
            if (!(t > kHitEps)) continue;
            const double p1 = o[a1] + t * d[a1];
            const double p2 = o[a2] + t * d[a2];
            if (p1 >= lo[a1] && p1 <= hi[a1] && p2 >= lo[a2] && p2 <= hi[a2]) return true;
        }
    }
    return false;
}

}  // namespace orv
