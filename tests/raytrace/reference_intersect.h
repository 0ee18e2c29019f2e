// The literal octree walk: each body in list order, each node's triangles in array order and
// then its children, culled by screen rectangles (primary rays) or the box test (all others),
// with no other shortcut. The production search must find exactly what this one finds.
#pragma once

#include "raytrace/intersect.h"

namespace orv_test {

bool referenceFindNearest(const orv::Scene& scene, const orv::Ray& ray, orv::Hit& hit);
bool referenceTraceShadow(const orv::Scene& scene, const orv::Ray& ray, orv::Hit& hit);

extern const orv::Intersector kReferenceIntersector;

}  // namespace orv_test
