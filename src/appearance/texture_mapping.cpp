// Texture projection mapping and the raytracer's texel lookup.
//
// The three angle constants differ in precision on purpose; the kinematics, the viewer and the
// raytracer all map with exactly these values, so their coordinates agree.
#include "appearance/texture_mapping.h"

#include <algorithm>
#include <cmath>

#include "core/process_lock.h"

namespace orv {

namespace {

constexpr double kPi = 3.1415926535;               // offsets, comparisons, reflections
constexpr double kFullCircle = 6.283185307;        // the quadrant fix
constexpr double kInvTwoPi = 0.15915494309644432;  // angle to u or v

enum Projection : uint32_t { kPlane = 0, kBox = 1, kCylinder = 2, kSphere = 3 };

bool hasTexture(const OrvTextureSlot& slot) {
    return slot.source != 0 && slot.pixels != nullptr;
}

// Angle of (a, b), turned by -offset, in [0, 2 pi): 0 along +b, a quarter turn along +a.
double longitude(double a, double b, double offset) {
    const double c = std::cos(-offset);
    const double s = std::sin(-offset);
    Vec3 p{c * a - s * b, s * a + c * b, 0.0};
    normalise(p);
    double angle = std::asin(p.x);
    if (p.y < 0.0) {
        angle = kPi - angle;
    } else if (p.x < 0.0) {
        angle += kFullCircle;
    }
    return angle;
}

// The mapped points, brought into texture space and tile units one at a time.
struct TexturePoints {
    const Vec3* points;
    int count;
    const Mat4& transform;
    Vec3 origin;
    double tileLength;  // 0: points stay unscaled

    Vec3 operator[](int i) const {
        Vec3 q = points[i] - origin;
        transformPoint(q, transform);
        if (tileLength > 0.0) q = Vec3{q.x / tileLength, q.y / tileLength, q.z / tileLength};
        return q;
    }
};

// The longitude of every point about one axis, written to uv[2 * i + component]. A run whose
// first three points straddle the seam (two of them half a turn or more apart) is measured
// again from the opposite side, so its coordinates stay close together.
template <typename Components>
void mapLongitudes(const TexturePoints& q, Components components, double scale, double* uv,
                   int component) {
    double offset = 0.0;
    // A single point has no pair to compare, so it is never measured again.
    double angles[3];
    const int first = std::min(q.count, 3);
    for (int i = 0; i < first; ++i) {
        const auto ab = components(q[i]);
        angles[i] = longitude(ab.first, ab.second, 0.0);
    }
    for (int i = 0; i < first; ++i) {
        for (int k = i + 1; k < first; ++k) {
            if (std::fabs(angles[i] - angles[k]) >= kPi) offset = kPi;
        }
    }
    for (int i = 0; i < q.count; ++i) {
        const auto ab = components(q[i]);
        const double angle = longitude(ab.first, ab.second, offset);
        uv[2 * i + component] = (1.0 - (angle - offset) * kInvTwoPi) * scale;
    }
}

void mapBox(const TexturePoints& q, const Vec3& n, double* uv) {
    // A face looking along y gets its up vector from -z; every other face keeps +y up.
    const bool alongY = std::fabs(n.z) < 0.001 && std::fabs(n.x) < 0.001;
    const Vec3 up = alongY ? Vec3{0.0, 0.0, -1.0} : Vec3{0.0, 1.0, 0.0};
    Mat4 frame;
    lookFrame(frame, -n, up);
    for (int i = 0; i < q.count; ++i) {
        Vec3 r = q[i];
        transformPoint(r, frame);
        uv[2 * i] = r.x + 0.5;
        uv[2 * i + 1] = r.y + 0.5;
    }
}

// Colour of the texel at (u, v) times the slot's intensity; black outside an untiled image.
// The bound is inclusive: an index of `side` is accepted and reads the first pixel of the next
// row. Past the last pixel the image reads as if followed by a zero row, so that read stays
// black and never leaves the buffer.
Vec3 fetchTexel(const OrvTextureSlot& slot, double u, double v) {
    const double side = slot.side;
    // Indices stay doubles until they are known to be in range: u and v may be huge or NaN.
    auto index = [side](double t, uint32_t tile, double& out) {
        double i = std::trunc(side * t);
        if (tile) {
            i = std::fmod(i, side);
            if (i < 0.0) i += side;
        }
        out = i;
        return i >= 0.0 && i <= side;
    };
    double i = 0.0, j = 0.0;
    if (!index(u, slot.tileX, i) || !index(v, slot.tileY, j)) return Vec3{0.0, 0.0, 0.0};

    const uint64_t pixel = uint64_t(j) * slot.side + uint64_t(i);
    const uint64_t pixelCount =
        std::min(uint64_t(slot.side) * slot.side, uint64_t(slot.pixelBytes) / 4);
    if (pixel >= pixelCount) return Vec3{0.0, 0.0, 0.0};

    const uint8_t* rgba = slot.pixels + 4 * pixel;
    const double k = slot.intensity;
    return Vec3{rgba[0] / 255.0 * k, rgba[1] / 255.0 * k, rgba[2] / 255.0 * k};
}

// Texture-space normal of the height field (third channel) around (u, v), from three texels
// one pixel above, below-left and below-right.
Vec3 perturbedNormal(const OrvTextureSlot& slot, double u, double v, double d) {
    Vec3 a{0.0, 0.5, fetchTexel(slot, u, v + d).z};
    Vec3 b{-0.5, -0.5, fetchTexel(slot, u - d, v - d).z};
    Vec3 c{0.5, -0.5, fetchTexel(slot, u + d, v - d).z};
    normalise(a);
    normalise(b);
    normalise(c);
    Vec3 n;
    triangleNormal(n, a, b, c);
    return n;
}

Vec3 filteredColour(const OrvTextureSlot& slot, double u, double v, double d) {
    if (slot.filter == 1) return fetchTexel(slot, u, v);
    const Vec3 sum = fetchTexel(slot, u, v) + fetchTexel(slot, u - d, v - d) +
                     fetchTexel(slot, u + d, v - d) + fetchTexel(slot, u + d, v + d) +
                     fetchTexel(slot, u - d, v + d);
    return sum * 0.2;
}

}  // namespace

Mat4 textureTransform(const Mat& mat) {
    Mat4 p;
    identity(p);
    place(p, mat.texturePosition, Vec3{1.0, 1.0, 1.0}, mat.textureRotation);
    invert(p);
    return p;
}

bool mapTexture(const Mat& mat, int slotIndex, const Mat4& transform, const Vec3* points, int count,
                const Vec3& normal, double* uv, const Vec3* boxMin, const Vec3* boxMax,
                const Vec3* origin) {
    if (slotIndex < 0 || slotIndex > 3) return false;
    const OrvTextureSlot& slot = mat.slots[slotIndex];
    if (!hasTexture(slot)) return false;
    if (count <= 0) return true;

    Vec3 n = normal;
    transformDirection(n, transform);

    const double tileLength = 2.0 * slot.size;
    // The angular projections stretch u over the box's half-circumference in tiles, so that a
    // cylinder's circumference comes out at about the body's width.
    double scale = 1.0;
    if (boxMin && boxMax) {
        double w = boxMax->x - boxMin->x;
        double h = boxMax->y - boxMin->y;
        if (slot.size > 0.0) {
            w /= tileLength;
            h /= tileLength;
        }
        scale = std::max(w, h) * kPi;
    }
    const TexturePoints q{points, count, transform, origin ? *origin : Vec3{0.0, 0.0, 0.0},
                          slot.size > 0.0 ? tileLength : 0.0};

    auto aboutZ = [](const Vec3& p) { return std::make_pair(p.x, p.y); };
    auto aboutY = [](const Vec3& p) { return std::make_pair(p.x, p.z); };
    switch (slot.projection) {
        case kPlane:
            for (int i = 0; i < count; ++i) {
                const Vec3 p = q[i];
                uv[2 * i] = p.x + 0.5;
                uv[2 * i + 1] = p.y + 0.5;
            }
            break;
        case kBox: mapBox(q, n, uv); break;
        case kCylinder:
            if (std::fabs(n.z) > 0.9999) {  // a cap face: no sensible longitude
                std::fill(uv, uv + 2 * count, 0.0);
                break;
            }
            mapLongitudes(q, aboutZ, scale, uv, 0);
            for (int i = 0; i < count; ++i) uv[2 * i + 1] = q[i].z + 0.5;
            break;
        case kSphere:
            mapLongitudes(q, aboutZ, scale, uv, 0);
            mapLongitudes(q, aboutY, scale, uv, 1);
            break;
        default: break;
    }
    return true;
}

bool textureLookup(const Mat& mat, int slotIndex, const Mat4& transform, const Vec3& hit,
                   const Vec3& normal, Vec3* outNormal, Vec3* outColour, uint32_t* outMode,
                   const Vec3* boxMin, const Vec3* boxMax, const Vec3* origin) {
    if (outNormal) {
        *outNormal = Vec3{0.0, 0.0, 0.0};
    } else {
        if (outColour) *outColour = Vec3{1.0, 1.0, 1.0};
        if (outMode) *outMode = 0;
    }
    if (slotIndex < 0 || slotIndex > 3 || !hasTexture(mat.slots[slotIndex])) return false;
    // Held from before the mapping to the end: a tool thread may free or replace the pixels.
    // A free between the test and the lock counts as if it came before the test.
    ProcessLockScope lock;
    const OrvTextureSlot& slot = mat.slots[slotIndex];
    if (!hasTexture(slot)) return false;

    double uv[2] = {0.0, 0.0};
    mapTexture(mat, slotIndex, transform, &hit, 1, normal, uv, boxMin, boxMax, origin);
    const double d = 1.0 / slot.side;

    if (outNormal) {
        *outNormal = perturbedNormal(slot, uv[0], uv[1], d);
    } else {
        if (outColour) *outColour = filteredColour(slot, uv[0], uv[1], d);
        if (outMode) *outMode = slot.mode;
    }
    return true;
}

}  // namespace orv
