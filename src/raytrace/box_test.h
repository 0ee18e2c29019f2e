// The box test of the search hierarchy: one ray against four boxes at once. Boxes are in
// single precision; the exact test computes the slab parameters in double precision, and a
// quicker test in single precision, for rays within range, accepts every box the exact one
// accepts (and perhaps a few more, which only costs time).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define ORV_SSE2 1
#else
#define ORV_SSE2 0
#endif

#include "raytrace/intersect.h"

// The searches test boxes in their innermost loop: the test belongs inline there.
#if defined(__GNUC__)
#define ORV_BOX_TEST_INLINE inline __attribute__((always_inline))
#else
#define ORV_BOX_TEST_INLINE inline
#endif

namespace orv {

// Four boxes side by side: per side (minimum, maximum corner), per axis, per box.
struct alignas(16) FourBoxes {
    float box[2][3][4];
};

// x in single precision, rounded up (or down); infinite beyond the largest float.
inline float roundTowards(double x, bool up) {
    float f = static_cast<float>(x);
    if (up ? f < x : f > x) {  // one step: the next float up (down) in bit order
        if (f == 0.0f) return up ? std::numeric_limits<float>::denorm_min()
                                 : -std::numeric_limits<float>::denorm_min();
        uint32_t bits;
        std::memcpy(&bits, &f, sizeof bits);
        bits += (f > 0.0f) == up ? 1 : -1;
        std::memcpy(&f, &bits, sizeof f);
    }
    return f;
}

// The ray's constants for box tests against boxes widened by a margin that covers rounding
// in the triangle test for this origin.
struct RayBoxes {
    // A search's bound, and the same rounded up to single precision.
    struct Bound {
        explicit Bound(double t) : exact(t), rounded(roundTowards(t, true)) {}
        double exact;
        float rounded;
    };

    explicit RayBoxes(const Ray& ray) {
        const double o[3] = {ray.origin.x, ray.origin.y, ray.origin.z};
        const double d[3] = {ray.dir.x, ray.dir.y, ray.dir.z};
        const double largest = std::max({std::fabs(o[0]), std::fabs(o[1]), std::fabs(o[2])});
        const double pad = 1e-9 * (1.0 + largest);
        for (int k = 0; k < 3; ++k) {
            // A direction parallel to an axis keeps its coordinate for every t a search
            // reaches; a tiny stand-in turns the slab into all or nothing.
            inv[k] = 1.0 / (d[k] != 0.0 ? d[k] : 1e-300);
            const bool down = inv[k] < 0.0;
            nearPlane[k] = ((down ? 1 : 0) * 3 + k) * 4;
            farPlane[k] = ((down ? 0 : 1) * 3 + k) * 4;
            nearOrigin[k] = down ? o[k] - pad : o[k] + pad;
            farOrigin[k] = down ? o[k] + pad : o[k] - pad;
        }
#if ORV_SSE2
        // Every moved origin coordinate is at most largest + pad in size.
        quick = largest + pad <= 1e30 && std::fabs(inv[0]) <= 1e30 && std::fabs(inv[1]) <= 1e30 &&
                std::fabs(inv[2]) <= 1e30;
        for (int k = 0; k < 3 && quick; ++k) {
            // Origins rounded the way that makes a near parameter smaller, a far one larger.
            const bool down = inv[k] < 0.0;
            inv4[k] = _mm_set1_ps(static_cast<float>(inv[k]));
            nearOrigin4[k] = _mm_set1_ps(roundTowards(nearOrigin[k], !down));
            farOrigin4[k] = _mm_set1_ps(roundTowards(farOrigin[k], down));
        }
#endif
    }

    // Bit c set when child c's box meets the ray's span (0, bound], with a lower bound of its
    // entry parameter in entry[c]. A box that the exact test below accepts is always accepted.
    ORV_BOX_TEST_INLINE unsigned entersFour(const FourBoxes& node, const Bound& bound,
                                            double entry[4]) const {
#if ORV_SSE2
        if (quick) return entersFourQuick(node, bound.rounded, entry);
#endif
        return entersFourExact(node, bound.exact, entry);
    }

    // The exact test: the slab parameters (plane - origin) * inv, the entry as the largest near
    // parameter and the exit as the smallest far one, in double precision. Only rays out of the
    // single-precision test's range take it, so it goes box by box.
    unsigned entersFourExact(const FourBoxes& node, double bound, double entry[4]) const {
        const float* planes = &node.box[0][0][0];
        unsigned in = 0;
        for (int c = 0; c < 4; ++c) {
            double tmin = (double{planes[nearPlane[0] + c]} - nearOrigin[0]) * inv[0];
            double tmax = (double{planes[farPlane[0] + c]} - farOrigin[0]) * inv[0];
            for (int k = 1; k < 3; ++k) {
                const double tn = (double{planes[nearPlane[k] + c]} - nearOrigin[k]) * inv[k];
                const double tf = (double{planes[farPlane[k] + c]} - farOrigin[k]) * inv[k];
                if (tn > tmin) tmin = tn;
                if (tf < tmax) tmax = tf;
            }
            entry[c] = tmin;
            if (tmin <= tmax && 0.0 <= tmax && tmin <= bound) in |= 1u << c;
        }
        return in;
    }

#if ORV_SSE2
    // The same test in single precision, four boxes at once, for rays whose origins and
    // inverse directions stay within 1e30. Each parameter is (plane - o') * inv' with o' the
    // origin rounded to the safe side and inv' within 2^-24 of inv: within three roundings of
    // 2^-24 of an exact value on the safe side of the double test's. The entry and exit are
    // then widened by 2^-20 of themselves and by 1e-12 (for results near the smallest floats),
    // and the bound rounded up: an entry never exceeds, an exit never falls short of the
    // double test's.
    ORV_BOX_TEST_INLINE unsigned entersFourQuick(const FourBoxes& node, float bound,
                                                 double entry[4]) const {
        const float* planes = &node.box[0][0][0];
        __m128 tmin = slab4(planes + nearPlane[0], nearOrigin4[0], inv4[0]);
        __m128 tmax = slab4(planes + farPlane[0], farOrigin4[0], inv4[0]);
        for (int k = 1; k < 3; ++k) {
            tmin = _mm_max_ps(tmin, slab4(planes + nearPlane[k], nearOrigin4[k], inv4[k]));
            tmax = _mm_min_ps(tmax, slab4(planes + farPlane[k], farOrigin4[k], inv4[k]));
        }
        const __m128 less = _mm_set1_ps(1.0f - 0x1p-20f), more = _mm_set1_ps(1.0f + 0x1p-20f);
        const __m128 absolute = _mm_set1_ps(1e-12f);
        tmin = _mm_sub_ps(_mm_min_ps(_mm_mul_ps(tmin, less), _mm_mul_ps(tmin, more)), absolute);
        tmax = _mm_add_ps(_mm_max_ps(_mm_mul_ps(tmax, less), _mm_mul_ps(tmax, more)), absolute);
        const __m128 b = _mm_set1_ps(bound);
        const __m128 in = _mm_and_ps(_mm_cmple_ps(tmin, tmax),
                                     _mm_and_ps(_mm_cmple_ps(_mm_setzero_ps(), tmax), _mm_cmple_ps(tmin, b)));
        _mm_storeu_pd(entry, _mm_cvtps_pd(tmin));
        _mm_storeu_pd(entry + 2, _mm_cvtps_pd(_mm_movehl_ps(tmin, tmin)));
        return static_cast<unsigned>(_mm_movemask_ps(in));
    }

    ORV_BOX_TEST_INLINE static __m128 slab4(const float* plane, __m128 origin, __m128 inv) {
        return _mm_mul_ps(_mm_sub_ps(_mm_load_ps(plane), origin), inv);
    }

    __m128 inv4[3], nearOrigin4[3], farOrigin4[3];
    bool quick;
#endif
    double inv[3];
    int nearPlane[3], farPlane[3];  // offsets of a node's near and far planes of each axis
    double nearOrigin[3], farOrigin[3];
};

}  // namespace orv
