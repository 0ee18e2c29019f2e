#include "raytrace/intersect.h"

#include <initializer_list>

#include "raytrace/scene_accel.h"
#include "raytrace/triangle_hit.h"

namespace orv {

bool findNearest(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    if (scene.accel) accelFindNearest(*scene.accel, ray, hit);
    return hit.triangle != nullptr;
}

bool traceShadow(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    return scene.accel && accelTraceShadow(*scene.accel, ray, hit);
}

bool findAnyBlocker(const Scene& scene, const Ray& ray, Hit& hit, int32_t& hint,
                    bool& unreached) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    unreached = false;
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
