// The raytrace driver through its exports with hostile input: empty and degenerate scenes,
// NaN, infinite and huge coordinates, a broken camera. Each renders without a crash and
// delivers every row. Then render/cancel cycles, which the sanitizer builds check for leaks
// (LeakSanitizer) and races (ThreadSanitizer).
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "render_cycles.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kHuge = 1e300;
constexpr int32_t kWidth = 16, kHeight = 8;

struct HostileTriangle {
    double corners[9];
    double normalZ;  // corner and face normals are (0, 0, normalZ)
};

struct HostileHost {
    std::vector<HostileTriangle> triangles;
    size_t next = 0;
};

// One body of the host's triangles, red.
int32_t hostileGeometry(int64_t* newBody, Mat** material, OrvColorRef* colour, double* opacity,
                        int32_t* twoSided, double corners[9], double cornerNormals[9],
                        double faceNormal[3], void* user) {
    auto* host = static_cast<HostileHost*>(user);
    if (host->next >= host->triangles.size()) return 0;
    const HostileTriangle& t = host->triangles[host->next];
    *newBody = host->next++ == 0;
    *material = nullptr;
    *colour = 0x000000C8;
    *opacity = 1.0;
    *twoSided = 1;
    for (int i = 0; i < 9; ++i) {
        corners[i] = t.corners[i];
        cornerNormals[i] = i % 3 == 2 ? t.normalZ : 0.0;
    }
    faceNormal[0] = faceNormal[1] = 0.0;
    faceNormal[2] = t.normalZ;
    return 1;
}

struct Delivered {
    std::vector<int> perRow = std::vector<int>(kHeight, 0);
    int pixelsNotBackground = 0;
};

int32_t checkRow(const uint8_t* rgb, int32_t count, int32_t row, void* user) {
    auto* delivered = static_cast<Delivered*>(user);
    if (row >= 0 && row < kHeight) ++delivered->perRow[row];
    const uint8_t background[3] = {0x10, 0x20, 0x40};  // orv_test::kHostBackground
    for (int32_t i = 0; rgb && i < 3 * count; ++i) {
        if (rgb[i] != background[i % 3]) ++delivered->pixelsNotBackground;
    }
    return 1;
}

struct Camera {
    double eye[3] = {0, 0, 5}, target[3] = {0, 0, 0}, up[3] = {0, 1, 0};
    double fov = 60, zoom = 1;
};

template <typename Geometry, typename Host>
Delivered render(const Camera& cam, Geometry geometry, Host& host) {
    Delivered delivered;
    RaytraceToDevice(nullptr, cam.eye, cam.target, cam.up, cam.fov, 1, 0, 0, cam.zoom, 0, 0, kWidth,
                     kHeight, nullptr, orv_test::kHostBackground, nullptr, 0, 0, geometry, &host,
                     checkRow, &delivered);
    return delivered;
}

// Every row at least once; twice at most where two workers meet.
void expectEveryRow(const Delivered& delivered, const std::string& label) {
    for (int32_t r = 0; r < kHeight; ++r) {
        EXPECT_TRUE(delivered.perRow[r] == 1 || delivered.perRow[r] == 2)
            << label << ": row " << r << " delivered " << delivered.perRow[r] << " times";
    }
}

class RenderReliabilityTest : public ::testing::TestWithParam<int32_t> {
protected:
    void SetUp() override { SetRaytraceThreads(GetParam()); }
    void TearDown() override { SetRaytraceThreads(2); }
    std::string label(const char* name) const {
        return std::string(name) + ", " + std::to_string(GetParam()) + " threads";
    }
};

TEST_P(RenderReliabilityTest, HostileScenesRenderEveryRow) {
    const HostileTriangle good = {{-1, -1, 0, 1, -1, 0, 0, 1, 0}, 1};
    const struct {
        const char* name;
        std::vector<HostileTriangle> triangles;
        bool onlyBackground;  // where nothing can be hit
    } cases[] = {
        {"no triangles", {}, true},
        {"degenerate only",
         {{{0, 0, 0, 0, 0, 0, 1, 1, 0}, 1},     // two equal corners: dropped
          {{1, 1, 1, 1, 1, 1, 1, 1, 1}, 1},     // one point
          {{-1, -1, 0, 0, 0, 0, 1, 1, 0}, 1}},  // collinear: kept, never hit
         true},
        {"NaN corners",
         {{{kNan, 0, 0, 1, 0, 0, 0, 1, 0}, 1},
          {{kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan}, 1},
          good},
         false},
        {"infinite corners", {{{-kInf, -kInf, 0, kInf, -kInf, 0, 0, kInf, 0}, 1}, good}, false},
        {"huge corners",
         {{{-kHuge, -kHuge, -1, kHuge, -kHuge, -1, 0, kHuge, -1}, 1},
          {{-kHuge, 0, kHuge, kHuge, 0, -kHuge, 0, 1, 0}, 1}},
         false},
        {"NaN normals", {{{-1, -1, 0, 1, -1, 0, 0, 1, 0}, kNan}}, false},
    };
    for (const auto& c : cases) {
        HostileHost host{c.triangles};
        const Delivered delivered = render(Camera{}, hostileGeometry, host);
        expectEveryRow(delivered, label(c.name));
        if (c.onlyBackground) {
            EXPECT_EQ(0, delivered.pixelsNotBackground) << label(c.name);
        }
    }
}

TEST_P(RenderReliabilityTest, BrokenCamerasRenderEveryRow) {
    const struct {
        const char* name;
        Camera camera;
    } cases[] = {
        {"NaN eye", {{kNan, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 1}},
        {"infinite eye", {{0, 0, kInf}, {0, 0, 0}, {0, 1, 0}, 60, 1}},
        {"huge eye", {{0, 0, kHuge}, {0, 0, 0}, {0, 1, 0}, 60, 1}},
        {"eye at the target", {{0, 0, 0}, {0, 0, 0}, {0, 1, 0}, 60, 1}},
        {"up along the view", {{0, 0, 5}, {0, 0, 0}, {0, 0, 1}, 60, 1}},
        {"NaN fov", {{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, kNan, 1}},
        {"infinite fov", {{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, kInf, 1}},
        {"fov 180", {{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 180, 1}},
        {"zoom 0", {{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 0}},
        {"NaN zoom", {{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, kNan}},
    };
    for (const auto& c : cases) {
        orv_test::GeometryHost host;
        expectEveryRow(render(c.camera, orv_test::shortGeometry, host), label(c.name));
    }
}

// Render, cancel at a random row, render again: 1,000 renders per thread count. A render
// costs milliseconds under Wine, where render_resources_win32.cpp runs the long series.
TEST_P(RenderReliabilityTest, RenderCancelCyclesKeepTheirPromises) {
#ifdef _WIN32
    constexpr int kCycles = 100;
#else
    constexpr int kCycles = 1000;
#endif
    EXPECT_EQ("", orv_test::renderCancelCycles(kCycles, kWidth, kHeight, GetParam()))
        << label("cycles");
}

// Two workers meeting in the middle, and three taking bands of rows.
INSTANTIATE_TEST_SUITE_P(Threads, RenderReliabilityTest, ::testing::Values(2, 3));

}  // namespace
