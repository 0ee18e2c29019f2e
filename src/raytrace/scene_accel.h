// The production search over a built scene. A bounding volume hierarchy over every triangle
// that a ray can hit, each triangle carrying its place in the octree walk's order (bodies in
// list order, each octree depth first, a node's triangles before its children). The searches
// return exactly what the octree walk returns:
// - nearest hit: the smallest parameter, of equal parameters the first in walk order;
// - shadow: occluders taken in walk order, each one only while it lies before the segment's
//   current end, which it then becomes;
// and a triangle counts only where the walk would have reached it: inside its screen
// rectangle for primary rays, inside the box of its octree node and of every node above it
// for all other rays.
#pragma once

#include "raytrace/intersect.h"
#include "raytrace/scene.h"

namespace orv {

struct SceneAccel;

// What every primary ray shares: its origin, and the pixels (relative to the image centre)
// that it can be traced for.
struct PrimaryView {
    Vec3 eye;
    ScreenRect image;
};

// Built from finished bodies, by up to `threads` threads; never null. With a view, primary
// rays of its pixels search lists per screen tile instead of the hierarchy.
SceneAccel* buildAccel(const Scene& scene, int threads, const PrimaryView* view);
void freeAccel(SceneAccel* accel);

// Kinds 0 to 2, with hit.t as the bound; hit holds the preview object's hit or the caller has
// cleared hit.body and hit.triangle, and is left as it is when no triangle lies before hit.t.
void accelFindNearest(const SceneAccel& accel, const Ray& ray, Hit& hit);
// Kind 3; true when the segment is blocked.
bool accelTraceShadow(const SceneAccel& accel, const Ray& ray, Hit& hit);
// Kind 3 for scenes in which every occluder blocks completely: true when some occluder meets
// the segment where the walk reaches it (hit names it, not necessarily the walk's first). The
// hint (-1 for none) is the index of the triangle to try first; it is set to the one found.
// Without a find, `unreached` tells whether a triangle that casts shadows accepted the segment
// where the walk does not reach it.
bool accelFindAnyBlocker(const SceneAccel& accel, const Ray& ray, Hit& hit, int32_t& hint,
                         bool& unreached);

// For measurements: the number of triangles in the hierarchy and of those tested every time
// (the few whose placement cannot be bounded).
int32_t accelTriangleCount(const SceneAccel& accel);
int32_t accelUnboundedCount(const SceneAccel& accel);

}  // namespace orv
