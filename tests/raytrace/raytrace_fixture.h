// The raytrace tests' host: a context with a camera on +z looking at the origin (render frame the
// identity) and an Env without lights; the host scene handed to the driver's exports by geometry
// callbacks, rows logged; its reference image traced here; render/cancel cycles.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "core/records.h"
#include "orvanta.h"
#include "raytrace/render_context.h"
#include "raytrace/scene.h"
#include "raytrace/trace_row.h"

namespace orv_test {

using orv::Vec3;

inline void put(double* out, const Vec3& v) {
    out[0] = v.x, out[1] = v.y, out[2] = v.z;
}

inline void setItem(orv::GeometryItem& item, const Vec3 p[3], const Vec3 normals[3],
                    const Vec3& face) {
    for (int i = 0; i < 3; ++i) {
        put(item.corners + 3 * i, p[i]);
        put(item.cornerNormals + 3 * i, normals[i]);
    }
    put(item.faceNormal, face);
}

struct HostTriangle {
    int64_t newBody;
    uint32_t colour;  // 0x00BBGGRR of the default material
    Vec3 p[3];
    Vec3 normal{0, 0, 1};  // of every corner and the face
};

// A red triangle in front of a two-triangle blue quad, on the background 0x00402010.
inline std::vector<HostTriangle> hostScene() {
    return {{1, 0x000000C8, {{-1.5, -1, 0}, {1, -1.2, 0}, {0, 1.3, 0}}},
            {1, 0x00C86432, {{-2, -0.5, -1}, {2, -0.5, -1}, {2, 2, -1}}},
            {0, 0, {{-2, -0.5, -1}, {2, 2, -1}, {-2, 2, -1}}}};
}
constexpr uint32_t kHostBackground = 0x00402010;

struct GeometryHost {
    std::vector<HostTriangle> triangles = hostScene();
    size_t next = 0;
    int calls = 0;
};

// The host's next triangle, two-sided, opaque, on the default material; 0 after the last.
inline int32_t shortGeometry(int64_t* newBody, Mat** material, uint32_t* colour, double* opacity,
                             int32_t* twoSided, double corners[9], double cornerNormals[9],
                             double faceNormal[3], void* user) {
    auto* host = static_cast<GeometryHost*>(user);
    ++host->calls;
    if (host->next >= host->triangles.size()) return 0;
    const HostTriangle& t = host->triangles[host->next++];
    *newBody = t.newBody, *material = nullptr, *colour = t.colour, *opacity = 1.0, *twoSided = 1;
    for (int i = 0; i < 3; ++i) {
        put(corners + 3 * i, t.p[i]);
        put(cornerNormals + 3 * i, t.normal);
    }
    put(faceNormal, t.normal);
    return 1;
}

inline int32_t longGeometry(int64_t* newBody, Mat** material, uint32_t* colour, double* opacity,
                            int32_t* twoSided, double corners[9], double cornerNormals[9],
                            double faceNormal[3], double boxMin[3], double boxMax[3],
                            double origin[3], void* user) {
    put(boxMin, {-2, -2, -2});
    put(boxMax, {2, 2, 2});
    put(origin, {0, 0, 0});
    return shortGeometry(newBody, material, colour, opacity, twoSided, corners, cornerNormals,
                         faceNormal, user);
}

using RgbRow = std::vector<uint8_t>;  // width x 3 bytes

// Every delivery of every row (empty without RGB bytes); the call cancelAt (0-based) returns 0.
struct RowLog {
    explicit RowLog(int32_t height, int cancelAtCall = -1)
        : rows(std::max(height, 0)), cancelAt(cancelAtCall) {}
    std::vector<std::vector<RgbRow>> rows;
    int calls = 0, cancelAt;
};

inline int32_t logRow(const uint8_t* rgb, int32_t count, int32_t row, void* user) {
    auto* log = static_cast<RowLog*>(user);
    if (row >= 0 && row < static_cast<int32_t>(log->rows.size())) {
        log->rows[row].push_back(rgb ? RgbRow(rgb, rgb + 3 * count) : RgbRow());
    }
    return log->calls++ == log->cancelAt ? 0 : 1;
}

// One render through the exports on the host background, without Env or lights.
struct HostRender {
    int32_t width = 16, height = 8;
    bool longForm = false;  // RaytraceToDevice2 with the long-form geometry callback
    double eye[3] = {0, 0, 5}, target[3] = {0, 0, 0}, up[3] = {0, 1, 0};
    double fov = 60, zoom = 1;
    void* dc = nullptr;
    int32_t x0 = 0, y0 = 0;

    int32_t run(GeometryHost& host, RowLog& log) const {
        if (longForm) {
            return RaytraceToDevice2(dc, eye, target, up, fov, 1, 0, 0, zoom, x0, y0, width, height,
                                     nullptr, kHostBackground, nullptr, 0, 0, longGeometry, &host,
                                     logRow, &log);
        }
        return RaytraceToDevice(dc, eye, target, up, fov, 1, 0, 0, zoom, x0, y0, width, height,
                                nullptr, kHostBackground, nullptr, 0, 0, shortGeometry, &host,
                                logRow, &log);
    }
};

// The image of ctx traced by one thread, each row antialiased against its traced neighbours.
inline std::vector<RgbRow> traceImage(orv::RenderContext& ctx) {
    const int32_t width = ctx.width, height = ctx.height;
    std::vector<std::vector<uint32_t>> traced(height + 2, std::vector<uint32_t>(width + 2));
    for (int32_t r = -1; r <= height; ++r) {
        orv::traceRow(ctx, r, traced[r + 1].data(), nullptr, nullptr);
    }
    std::vector<RgbRow> image(height);
    for (int32_t r = 0; r < height; ++r) {
        std::vector<uint32_t> row = traced[r + 1];
        orv::antialiasRow(ctx, r, traced[r].data(), row.data(), traced[r + 2].data());
        for (int32_t c = 1; c <= width; ++c) {
            for (int k = 0; k < 3; ++k) image[r].push_back(static_cast<uint8_t>(row[c] >> (8 * k)));
        }
    }
    return image;
}

// The host scene at width x height as the driver must deliver it.
inline std::vector<RgbRow> referenceImage(int32_t width, int32_t height) {
    orv::RenderContext ctx;
    orv::setUpCamera(
        ctx, orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 1, 0, 0, 1, width, height});
    orv::setEnvironment(ctx, nullptr, kHostBackground);
    GeometryHost host;
    orv::GeometryItem item;
    while (shortGeometry(&item.newBody, &item.material, &item.colour, &item.opacity, &item.twoSided,
                         item.corners, item.cornerNormals, item.faceNormal, &host)) {
        orv::addTriangle(ctx, item);
    }
    orv::finishScene(ctx);
    const std::vector<RgbRow> image = traceImage(ctx);
    orv::freeScene(ctx.scene);
    orv::releaseEnvironment(ctx);
    return image;
}

// Renders of the host scene on 16 x 8 pixels, every other one cancelled at a random row call: a
// full render delivers every row, a cancelled one at most one more row per worker.
inline void renderCancelCycles(int cycles, int32_t threads) {
    std::minstd_rand random(20260405);
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const bool cancel = cycle % 2 == 1;
        RowLog log(8, cancel ? static_cast<int>(random() % 8u) : -1);
        GeometryHost host;
        HostRender{}.run(host, log);
        if (cancel) {
            ASSERT_LE(log.calls, log.cancelAt + 1 + threads) << "cycle " << cycle;
        }
        for (int32_t r = 0; !cancel && r < 8; ++r) {
            ASSERT_FALSE(log.rows[r].empty()) << "cycle " << cycle << ", row " << r;
        }
    }
}

class RaytraceFixture : public ::testing::Test {
protected:
    void SetUp() override {
        orv::setBuiltInDefaults(env);
        env.standardLights = 0;  // scene lights, and none of them
        env.ambient = Vec3{0, 0, 0};
        ctx.env = &env;
        setCamera(32, 24);
    }
    void TearDown() override {
        orv::freeScene(ctx.scene);
        for (Mat* m : mats) delete m;
    }

    void setCamera(int width, int height) {
        orv::setUpCamera(
            ctx, orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 1, 0, 0, 1, width, height});
    }

    // A material the test owns, built-in defaults plus the given opacity.
    Mat* material(double opacity = 1.0) {
        Mat* m = new Mat;
        orv::setBuiltInDefaults(*m);
        m->opacity = opacity;
        mats.push_back(m);
        return m;
    }

    // Starts a body with one triangle.
    void addBody(Mat* mat, const Vec3& a, const Vec3& b, const Vec3& c, int twoSided = 0) {
        orv::GeometryItem item;
        item.newBody = 1, item.material = mat, item.twoSided = twoSided;
        add(item, a, b, c);
    }
    // One more triangle of the current body.
    void addToBody(const Vec3& a, const Vec3& b, const Vec3& c) {
        orv::GeometryItem item;
        add(item, a, b, c);
    }
    // Flat: every normal is the one from the corners.
    void add(orv::GeometryItem& item, const Vec3& a, const Vec3& b, const Vec3& c) {
        Vec3 n;
        orv::triangleNormal(n, a, b, c);
        const Vec3 p[3] = {a, b, c}, normals[3] = {n, n, n};
        setItem(item, p, normals, n);
        orv::addTriangle(ctx, item);
    }

    Env env;
    orv::RenderContext ctx;
    std::vector<Mat*> mats;
};

inline void expectNearVec(const Vec3& want, const Vec3& got, double tol = 1e-12) {
    EXPECT_NEAR(want.x, got.x, tol);
    EXPECT_NEAR(want.y, got.y, tol);
    EXPECT_NEAR(want.z, got.z, tol);
}

}  // namespace orv_test
