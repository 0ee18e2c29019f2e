// Pixel packing, the colour difference test, antialiasing and tracing of rows, and a lit quad.
#include <limits>

#include "raytrace/pixel.h"
#include "raytrace_fixture.h"

namespace {

using orv::Vec3;

uint32_t rgb(uint32_t r, uint32_t g, uint32_t b) {
    return r | g << 8 | b << 16;
}

TEST(PixelTest, PacksWithTheSequentialNormalisation) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        Vec3 colour;
        uint32_t want;
    } cases[] = {
        {{1, 1, 0.5}, rgb(255, 255, 127)},  // (2, 1.5, 0.5) after the tracer's cap
        {{2, 1.5, 0.5}, rgb(255, 255, 127)},
        {{0.5, 0.25, 1}, rgb(127, 63, 255)},
        // Green is divided by max(r', g, b, 1) = 3 with r' = 0.5 already normalised; blue by
        // max(0.5, 1, 1, 1) = 1, not by 3.
        {{1.5, 3, 1}, rgb(127, 255, 255)},
        {{0, 0, 0}, 0},
        {{-1, nan, 0.2}, rgb(0, 0, 51)},
    };
    for (const auto& c : cases) EXPECT_EQ(c.want, orv::packPixel(c.colour)) << c.colour.x;
}

TEST(PixelTest, ColourDifferenceThresholds) {
    const struct {
        uint32_t a, b;
        bool differ;
    } cases[] = {
        {rgb(100, 100, 100), rgb(100, 100, 100), false},
        {rgb(100, 100, 100), rgb(125, 125, 125), false},  // brightness 0.098
        {rgb(100, 100, 100), rgb(126, 126, 126), true},   // brightness 0.102
        {rgb(200, 200, 200), rgb(200, 181, 181), false},  // saturation 0.095
        {rgb(200, 200, 200), rgb(200, 178, 178), true},   // saturation 0.11
        {rgb(255, 0, 0), rgb(255, 150, 0), false},        // hue 0.098
        {rgb(255, 0, 0), rgb(255, 160, 0), true},         // hue 0.105
        {rgb(255, 0, 0), rgb(255, 0, 140), false},        // hue 0.908: 0.092 across red
        {rgb(255, 0, 0), rgb(255, 0, 160), true},         // hue 0.895: 0.105 across red
        {rgb(0, 0, 0), rgb(20, 0, 0), true},              // saturation 0 -> 1, however dark
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << std::hex << c.a << " " << c.b);
        EXPECT_EQ(c.differ, orv::coloursDiffer(c.a, c.b));
        EXPECT_EQ(c.differ, orv::coloursDiffer(c.b, c.a));
    }
}

class RenderTest : public orv_test::RaytraceFixture {};

TEST_F(RenderTest, RowsRepeatTheirEndPixelsStopWhenCancelledAndAntialias) {
    setCamera(4, 3);
    env.background = Vec3{0, 0.2, 1};
    uint32_t row[6] = {};
    ASSERT_TRUE(orv::traceRow(ctx, 0, row, nullptr, nullptr));
    for (uint32_t p : row) EXPECT_EQ(rgb(0, 51, 255), p);
    int calls = 0;
    auto cancelSecond = [](void* user) { return ++*static_cast<int*>(user) == 2; };
    EXPECT_FALSE(orv::traceRow(ctx, 0, row, cancelSecond, &calls));
    EXPECT_EQ(2, calls);
    // Every ray sees the white background: a black pixel in the middle row becomes
    // (4 x white + black) x 0.2 = 0.8 -> 204; its neighbours average white with white.
    env.background = Vec3{1, 1, 1};
    const uint32_t white = 0xFFFFFF;
    uint32_t older[6], middle[6], newer[6];
    for (int i = 0; i < 6; ++i) older[i] = middle[i] = newer[i] = white;
    middle[2] = 0;
    orv::antialiasRow(ctx, 1, older, middle, newer);
    const uint32_t want[6] = {white, white, rgb(204, 204, 204), white, white, white};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(want[i], middle[i]) << "entry " << i;
}

TEST_F(RenderTest, LitQuadInFrontOfTheBackground) {
    // The quad z = 0, |x|, |y| <= 1, of colour (100, 50, 20) at 32 x 24, lit by the camera
    // light alone (at eye + (0, |e - t| / 4, 0): f = 5 / |(0, 1.25, 5)|) with the default Env:
    // each channel is 0.18 x colour + 3 x colour x 0.8 x 0.5 x 0.8 x f plus the highlight
    // 3 x 0.6 x s^10 x 0.5 x 0.8, cut at 1.
    orv::setEnvironment(ctx, nullptr, 0x00402010);
    orv::GeometryItem item;
    item.newBody = 1;
    item.colour = 0x00143264;
    add(item, {-1, -1, 0}, {1, -1, 0}, {1, 1, 0});
    addToBody({-1, -1, 0}, {1, 1, 0}, {-1, 1, 0});
    orv::finishScene(ctx);
    uint32_t rows[24][34];
    for (int r = 0; r < 24; ++r) ASSERT_TRUE(orv::traceRow(ctx, r, rows[r], nullptr, nullptr));
    const struct {
        int c, r;
        uint32_t want;
    } cases[] = {{16, 12, 0x9DBFF6}, {20, 14, 0x6A8CC3}, {13, 9, 0xB3D5FF}, {20, 12, 0x87A8E0},
                 {21, 12, 0x402010}, {16, 17, 0x402010}, {0, 0, 0x402010},  {31, 23, 0x402010}};
    for (const auto& p : cases) EXPECT_EQ(p.want, rows[p.r][p.c + 1]) << p.c << ", " << p.r;
    orv::releaseEnvironment(ctx);
}

}  // namespace
