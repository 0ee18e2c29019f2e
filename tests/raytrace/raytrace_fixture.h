// A small render context for the raytrace tests: a camera on +z looking at the origin (its
// render frame is the identity), an Env without lights, and helpers to add triangles.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "core/records.h"
#include "raytrace/render_context.h"
#include "raytrace/scene.h"

namespace orv_test {

using orv::Vec3;

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
        orv::setUpCamera(ctx, orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 1, 0, 0, 1,
                                               width, height});
    }

    // A material the test owns, built-in defaults plus the given opacity.
    Mat* material(double opacity = 1.0) {
        Mat* m = new Mat;
        orv::setBuiltInDefaults(*m);
        m->opacity = opacity;
        mats.push_back(m);
        return m;
    }

    // Starts a body (mat null: the default material from colour 0x00BBGGRR) with one triangle.
    void addBody(Mat* mat, const Vec3& a, const Vec3& b, const Vec3& c, int twoSided = 0,
                 uint32_t colour = 0) {
        orv::GeometryItem item;
        item.newBody = 1;
        item.material = mat;
        item.colour = colour;
        item.twoSided = twoSided;
        add(item, a, b, c);
    }
    // One more triangle of the current body, flat, its normal from the corners.
    void addToBody(const Vec3& a, const Vec3& b, const Vec3& c) {
        orv::GeometryItem item;
        add(item, a, b, c);
    }
    void add(orv::GeometryItem& item, const Vec3& a, const Vec3& b, const Vec3& c) {
        const Vec3 p[3] = {a, b, c};
        for (int i = 0; i < 3; ++i) {
            item.corners[3 * i] = p[i].x;
            item.corners[3 * i + 1] = p[i].y;
            item.corners[3 * i + 2] = p[i].z;
        }
        Vec3 n;
        orv::triangleNormal(n, a, b, c);
        const double face[3] = {n.x, n.y, n.z};
        for (int i = 0; i < 3; ++i) {
            item.faceNormal[i] = face[i];
            for (int k = 0; k < 3; ++k) item.cornerNormals[3 * k + i] = face[i];
        }
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
