// End to end: a lit quad in front of the background, traced row by row at 32 x 24, checked
// against colours worked out here from the camera, the camera light and Phong's terms.
#include <algorithm>
#include <cmath>

#include "raytrace/trace_row.h"
#include "raytrace_fixture.h"

namespace {

using orv::Vec3;

class RenderTest : public orv_test::RaytraceFixture {};

Vec3 unitOf(const Vec3& v) {
    const double len = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    return Vec3{v.x / len, v.y / len, v.z / len};
}

// Expected packed colour of pixel (c, r) on the quad z = 0, |x|, |y| <= 1, of colour
// (100, 50, 20), lit by the camera light alone with the default Env.
uint32_t expectedQuadPixel(int c, int r) {
    const double t = std::tan(30 * 3.1415926535 / 180);
    const double step = t / 12;  // 1 / (24 / 2) per pixel
    const Vec3 d = unitOf(Vec3{(c - 16) * step, (r - 12) * -step, -1});
    // Camera light at eye + (0, |e - t| / 4, 0) with up (0, 1, 0): direction (0, 1.25, 5).
    const Vec3 l = unitOf(Vec3{0, 1.25, 5});
    const double f = l.z;
    const double lc = (0.8 + 1.2) * 1.5;  // intensity 2 for one standard light, times the gain
    const Vec3 h = unitOf(Vec3{d.x / -d.z, d.y / -d.z, 2 + d.z / -d.z});
    const double s = h.x * l.x + h.y * l.y + h.z * l.z;
    const double specular = lc * 0.6 * std::pow(s, 10) * 0.5 * 0.8;
    const double bytes[3] = {100, 50, 20};
    uint32_t packed = 0;
    for (int k = 0; k < 3; ++k) {
        const double colour = bytes[k] / 255;
        const double v = 0.18 * colour + lc * colour * 0.8 * 0.5 * 0.8 * f + specular;
        packed |= static_cast<uint32_t>(std::min(v, 1.0) * 255) << (8 * k);
    }
    return packed;
}

TEST_F(RenderTest, LitQuadInFrontOfTheBackground) {
    orv::setEnvironment(ctx, nullptr, 0x00402010);
    orv::GeometryItem item;
    item.newBody = 1;
    item.colour = 0x00143264;
    const Vec3 quad[2][3] = {{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}},
                             {{-1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}};
    for (const auto& tri : quad) {
        add(item, tri[0], tri[1], tri[2]);
        item.newBody = 0;
    }
    orv::finishScene(ctx);

    uint32_t rows[24][34];
    for (int r = 0; r < 24; ++r) ASSERT_TRUE(orv::traceRow(ctx, r, rows[r], nullptr, nullptr));
    const uint32_t background = 0x00402010;
    const struct {
        int c, r;
        bool onQuad;
    } cases[] = {{16, 12, true}, {20, 14, true}, {13, 9, true},  {20, 12, true},
                 {21, 12, false}, {16, 17, false}, {0, 0, false}, {31, 23, false}};
    for (const auto& p : cases) {
        const uint32_t want = p.onQuad ? expectedQuadPixel(p.c, p.r) : background;
        EXPECT_EQ(want, rows[p.r][p.c + 1]) << std::hex << "pixel " << std::dec << p.c << ", "
                                            << p.r;
    }
    orv::releaseEnvironment(ctx);
}

}  // namespace
