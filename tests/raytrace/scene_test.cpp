// Scene build: body collection, dropped triangles, octant order and screen rectangles.
#include <tuple>

#include "core/colour.h"
#include "raytrace/intersect.h"
#include "raytrace_fixture.h"

namespace {

using orv::Vec3;

class SceneTest : public orv_test::RaytraceFixture {
protected:
    const orv::OctreeNode& root() { return *ctx.scene.bodies->root; }
};

TEST_F(SceneTest, TrianglesBeforeTheFirstNewBodyAreDropped) {
    addToBody({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    EXPECT_EQ(nullptr, ctx.scene.bodies);
    addBody(material(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    addToBody({0, 0, 1}, {1, 0, 1}, {0, 1, 1});
    orv::finishScene(ctx);
    ASSERT_NE(nullptr, ctx.scene.bodies);
    ASSERT_EQ(nullptr, ctx.scene.bodies->next);  // one body
    int total = root().triangleCount;
    for (int i = 0; i < root().childCount; ++i) total += root().children[i]->triangleCount;
    EXPECT_EQ(2, total);
}

TEST_F(SceneTest, DegenerateOnlyBodyHasEmptyRootAndIsNeverHit) {
    addBody(material(), {0, 0, 0}, {0, 0, 0}, {1, 1, 0});
    addToBody({0, 0, 0}, {1, 1, 0}, {1, 1, 0});
    addToBody({1, 1, 0}, {0, 0, 0}, {1, 1, 0});
    orv::finishScene(ctx);
    EXPECT_EQ(0, root().triangleCount + root().childCount);
    EXPECT_EQ(nullptr, root().triangles);
    for (orv::RayKind kind : {orv::RayKind::Primary, orv::RayKind::Reflection}) {
        orv::Hit hit;
        EXPECT_FALSE(orv::findNearest(ctx.scene, {{0.5, 0.5, 1}, {0, 0, -1}, kind}, hit));
    }
}

TEST_F(SceneTest, TriangleOnAnOctantFaceGoesToTheFirstOctantInOrder) {
    // Root box [0, 2]^3: the first triangle straddles and stays in the root; the second lies in
    // the plane x = 1, in both the all-lower and the upper-x octant; the third in the upper-x one.
    addBody(material(), {0, 0, 0}, {2, 2, 0}, {0, 2, 2});
    addToBody({1, 0.1, 0.1}, {1, 0.5, 0.1}, {1, 0.1, 0.5});
    addToBody({1.5, 0.1, 0.1}, {1.9, 0.1, 0.1}, {1.5, 0.4, 0.1});
    orv::finishScene(ctx);
    EXPECT_EQ(1, root().triangleCount);
    ASSERT_EQ(2, root().childCount);
    // Children are packed in octant order and refitted to their triangles.
    EXPECT_EQ(1.0, root().children[0]->boxMin.x);
    EXPECT_EQ(1.0, root().children[0]->boxMax.x);
    EXPECT_EQ(1.5, root().children[1]->boxMin.x);
    EXPECT_EQ(1.9, root().children[1]->boxMax.x);
    EXPECT_EQ(0.0, root().boxMin.x);
    EXPECT_EQ(2.0, root().boxMax.z);
}

TEST_F(SceneTest, ScreenRectanglesFollowTheProjectionWithAOnePixelMargin) {
    // One pixel is tan(30 deg) / 12 = 0.0481 at distance 1: x = 1 five units ahead is column
    // 0.2 / 0.0481 = 4.16 -> 4, y = -1 row +4 (downwards); a corner behind the eye column 41.
    const struct {
        Vec3 corners[3];
        orv::ScreenRect want;
    } cases[] = {
        {{{0, 0, 0}, {1, 0, 0}, {0, -1, 0}}, {-1, -1, 5, 5}},
        {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {-1, -5, 5, 1}},
        {{{0, 0, 0}, {1, 0, 6}, {0, 0, 1}}, {-1, -1, 42, 1}},
    };
    for (const auto& c : cases) {
        const orv::ScreenRect r = orv::screenRect(ctx, c.corners);
        EXPECT_EQ(std::tie(c.want.x0, c.want.y0, c.want.x1, c.want.y1),
                  std::tie(r.x0, r.y0, r.x1, r.y1));
    }
}

TEST_F(SceneTest, QuickRenderDropsOffImageAndTurnedAwayTriangles) {
    ctx.quick = true;
    addBody(material(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});     // kept
    addToBody({0, 0, 0}, {0, 1, 0}, {1, 0, 0});               // turned away
    addToBody({50, 0, 0}, {51, 0, 0}, {50, 1, 0});            // off the image
    addBody(material(), {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, 1);  // two-sided: kept
    orv::finishScene(ctx);
    EXPECT_EQ(1, root().triangleCount);
    EXPECT_EQ(1, ctx.scene.bodies->next->root->triangleCount);
}

TEST_F(SceneTest, DefaultMaterialFromColourAndOpacity) {
    orv::GeometryItem item;
    item.newBody = 1;
    item.colour = 0x00336699;  // red 0x99, green 0x66, blue 0x33
    item.opacity = 3.0;
    add(item, {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    orv::finishScene(ctx);
    ASSERT_TRUE(ctx.scene.bodies->ownsMaterial);
    const Mat& m = *ctx.scene.bodies->material;
    EXPECT_EQ(0x99 * orv::kByteToUnit, m.ambient.x);
    EXPECT_EQ(0x33 * orv::kByteToUnit, m.ambient.z);
    EXPECT_EQ(0x66 * orv::kByteToUnit * 0.8, m.diffuse.y);
    EXPECT_EQ(0.6, m.specular.x);
    EXPECT_EQ(1.0, m.opacity);
}

}  // namespace
