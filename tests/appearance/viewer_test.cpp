// The viewer definitions against real OpenGL: call the export, read the state back with glGet.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "appearance/gl.h"
#include "core/records.h"
#include "orvanta.h"
#include "support/gl_context.h"

#ifndef _WIN32
#include "core/process_lock.h"
#endif

namespace {

using Rgba = std::array<float, 4>;
constexpr float kUnset = -9;  // what a query leaves in components it does not fill

template <typename T, typename Query, typename... Args>
std::array<T, 4> get(Query query, Args... args) {
    std::array<T, 4> v;
    v.fill(T(kUnset));
    query(args..., v.data());
    return v;
}
Rgba light(int index, GLenum pname) {
    return get<float>(glGetLightfv, GLenum(GL_LIGHT0 + index), pname);
}
Rgba material(GLenum face, GLenum pname) {
    return get<float>(glGetMaterialfv, face, pname);
}
Rgba floats(GLenum pname) {
    return get<float>(glGetFloatv, pname);
}
GLint integer(GLenum pname) {
    return get<GLint>(glGetIntegerv, pname)[0];
}
GLint textureParameter(GLenum pname) {
    return get<GLint>(glGetTexParameteriv, GLenum(GL_TEXTURE_2D), pname)[0];
}

// The arithmetic is done in doubles and handed to OpenGL as floats.
Rgba rgba(double r, double g, double b, double a) {
    return {float(r), float(g), float(b), float(a)};
}

#define EXPECT_RGBA(actual, want)                                              \
    do {                                                                       \
        const Rgba a_ = (actual), w_ = (want);                                 \
        for (int i_ = 0; i_ < 4; ++i_)                                         \
            EXPECT_FLOAT_EQ(a_[i_], w_[i_]) << #actual << " component " << i_; \
    } while (0)

class ViewerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { context_ = new TestGlContext; }
    static void TearDownTestSuite() {
        delete context_;
        context_ = nullptr;
    }
    void SetUp() override {
        ASSERT_TRUE(context_->ok()) << context_->error();
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        for (int i = 0; i < 8; ++i) glDisable(GLenum(GL_LIGHT0 + i));
        glDisable(GL_BLEND);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_FOG);
        orv::setBuiltInDefaults(mat_);
        orv::setBuiltInDefaults(env_);
    }
    void TearDown() override { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)); }

    // A 4 x 4 image of distinct texels in the surface slot, as the texture loader leaves it.
    void giveSurfaceTexture(uint32_t source = 1) {
        pixels_.assign(4 * 4 * 4, 255);
        for (int i = 0; i < 16; ++i) {
            pixels_[4 * i + 0] = uint8_t(i * 16);
            pixels_[4 * i + 1] = uint8_t(255 - i * 16);
            pixels_[4 * i + 2] = uint8_t(i % 2 ? 200 : 10);
        }
        OrvTextureSlot& slot = mat_.slots[0];
        slot.source = source;
        slot.side = 4;
        slot.pixelBytes = uint32_t(pixels_.size());
        slot.pixels = pixels_.data();
    }

    static TestGlContext* context_;
    Mat mat_;
    Env env_;
    std::vector<uint8_t> pixels_;
};

TestGlContext* ViewerTest::context_ = nullptr;

// Without a material: the plain material of the host colour, the alpha argument as it is, and
// no texture even when asked for one.
TEST_F(ViewerTest, MaterialColoursAndShininessOnBothFacesWithAndWithoutMaterial) {
    mat_.ambient = {0.1, 0.2, 0.3};
    mat_.diffuse = {0.4, 0.5, 0.6};
    mat_.specular = {0.7, 0.8, 0.9};
    mat_.emission = {0.05, 0.15, 0.25};
    mat_.shininess = 42.5;
    giveSurfaceTexture();
    const double k = 0.00392156862745098;  // 1 / 255
    const double r = 0x99 * k, g = 0x66 * k, b = 0x33 * k;
    struct Case {
        const Mat* mat;
        double alpha;
        int32_t withTexture;
        Rgba ambient, diffuse, specular, emission;
        float shininess;
    };
    const Case cases[] = {
        {&mat_, 1.0, 0, rgba(0.1, 0.2, 0.3, 1), rgba(0.4, 0.5, 0.6, 1), rgba(0.7, 0.8, 0.9, 1),
         rgba(0.05, 0.15, 0.25, 1), 42.5f},
        {nullptr, 0.25, 1, rgba(r, g, b, 0.25), rgba(r * 0.8, g * 0.8, b * 0.8, 0.25),
         rgba(0.6, 0.6, 0.6, 0.25), rgba(0, 0, 0, 0.25), 10.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mat ? "material" : "host colour");
        glEnable(GL_TEXTURE_2D);
        glDisable(GL_BLEND);
        ViewerDefineMat(c.mat, 0x00336699, c.alpha, c.withTexture);
        for (GLenum face : {GLenum(GL_FRONT), GLenum(GL_BACK)}) {
            EXPECT_RGBA(material(face, GL_AMBIENT), c.ambient);
            EXPECT_RGBA(material(face, GL_DIFFUSE), c.diffuse);
            EXPECT_RGBA(material(face, GL_SPECULAR), c.specular);
            EXPECT_RGBA(material(face, GL_EMISSION), c.emission);
            EXPECT_FLOAT_EQ(material(face, GL_SHININESS)[0], c.shininess);
        }
        EXPECT_EQ(glIsEnabled(GL_BLEND), c.alpha < 1 ? GL_TRUE : GL_FALSE);
        EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_FALSE);
    }
}

TEST_F(ViewerTest, AlphaIsTheSmallerOfArgumentAndOpacityAndSwitchesBlending) {
    const double cases[][3] = {{0.5, 0.3, 0.3}, {1.0, 1.0, 1.0}, {2.0, 1.0, 1.0},
                               {0.7, 1.0, 0.7}, {1.0, 0.9, 0.9}, {0.3, 0.3, 0.3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "alpha " << c[0] << " opacity " << c[1]);
        const bool blend = c[2] < 1;
        mat_.opacity = c[1];
        if (blend) glDisable(GL_BLEND);  // the call must switch it, not inherit it
        if (!blend) glEnable(GL_BLEND);
        ViewerDefineMat(&mat_, 0, c[0], 0);
        EXPECT_EQ(glIsEnabled(GL_BLEND), blend ? GL_TRUE : GL_FALSE);
        EXPECT_FLOAT_EQ(material(GL_FRONT, GL_DIFFUSE)[3], float(c[2]));
        EXPECT_FLOAT_EQ(material(GL_BACK, GL_AMBIENT)[3], float(c[2]));
    }
}

TEST_F(ViewerTest, SurfaceTextureStateFollowsTheSlotAndTheImageIsUploadedAsItIs) {
    struct Case {
        uint32_t mode, filter, tileX, tileY;
        GLint envMode, glFilter, wrapS, wrapT;
        float envAlpha;
    };
    const Case cases[] = {
        {0, 0, 1, 1, GL_MODULATE, GL_LINEAR, GL_REPEAT, GL_REPEAT, 1.0f},
        {1, 1, 0, 0, GL_DECAL, GL_NEAREST, GL_CLAMP, GL_CLAMP, 0.5f},
        {1, 0, 1, 0, GL_DECAL, GL_LINEAR, GL_REPEAT, GL_CLAMP, 0.5f},
        {0, 1, 0, 1, GL_MODULATE, GL_NEAREST, GL_CLAMP, GL_REPEAT, 1.0f},
    };
    giveSurfaceTexture();
    mat_.emission = {0.25, 0.5, 0.75};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << " filter " << c.filter);
        OrvTextureSlot& slot = mat_.slots[0];
        slot.mode = c.mode;
        slot.filter = c.filter;
        slot.tileX = c.tileX;
        slot.tileY = c.tileY;
        ViewerDefineMat(&mat_, 0, 1.0, 1);
        GLint envMode = -1;
        glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &envMode);
        EXPECT_EQ(envMode, c.envMode);
        Rgba envColour{};
        glGetTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, envColour.data());
        EXPECT_RGBA(envColour, rgba(0.25, 0.5, 0.75, c.envAlpha));
        EXPECT_EQ(textureParameter(GL_TEXTURE_MIN_FILTER), c.glFilter);
        EXPECT_EQ(textureParameter(GL_TEXTURE_MAG_FILTER), c.glFilter);
        EXPECT_EQ(textureParameter(GL_TEXTURE_WRAP_S), c.wrapS);
        EXPECT_EQ(textureParameter(GL_TEXTURE_WRAP_T), c.wrapT);
    }
    GLint width = 0, height = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    EXPECT_EQ(width, 4);
    EXPECT_EQ(height, 4);
    std::vector<uint8_t> back(pixels_.size(), 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, back.data());
    EXPECT_EQ(back, pixels_);
    // A later call uploads the current pixels: no stale texture object is kept.
    pixels_[0] = 77;
    ViewerDefineMat(&mat_, 0, 1.0, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, back.data());
    EXPECT_EQ(back[0], 77);
}

TEST_F(ViewerTest, TextureIsOnOnlyWhenFlagSourceAndPixelsAllSaySo) {
    struct Case {
        int32_t withTexture;
        uint32_t source;
        bool havePixels, enabled;
    };
    const Case cases[] = {{1, 1, true, true},
                          {1, 2, true, true},  // text source
                          {0, 1, true, false},
                          {1, 0, true, false},
                          {1, 1, false, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.withTexture << " source " << c.source);
        giveSurfaceTexture(c.source);
        if (!c.havePixels) mat_.slots[0].pixels = nullptr;
        if (c.enabled) glDisable(GL_TEXTURE_2D);
        if (!c.enabled) glEnable(GL_TEXTURE_2D);
        ViewerDefineMat(&mat_, 0, 1.0, c.withTexture);
        EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), c.enabled ? GL_TRUE : GL_FALSE);
    }
}

#ifndef _WIN32
// The upload waits for a tool thread that is replacing the pixels under the process-wide lock.
// (Under Wine the DLL's lock is its own and not reachable from the test program.)
TEST_F(ViewerTest, TextureUploadWaitsForTheProcessLock) {
    giveSurfaceTexture();
    std::atomic<bool> holding{false}, released{false};
    std::thread tool([&] {
        orv::enterProcessLock();
        holding = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        released = true;
        orv::leaveProcessLock();
    });
    while (!holding) std::this_thread::yield();
    ViewerDefineMat(&mat_, 0, 1.0, 1);
    EXPECT_TRUE(released) << "the upload ran while another thread held the lock";
    tool.join();
}
#endif

TEST_F(ViewerTest, AccessorsReadOpacityAndSurfaceSource) {
    mat_.opacity = 0.375;
    EXPECT_EQ(MatAlpha(&mat_), 0.375);
    mat_.slots[1].source = 1;  // only the surface slot counts
    for (uint32_t source : {0u, 1u, 2u}) {
        mat_.slots[0].source = source;
        EXPECT_EQ(IsMatTexture(&mat_), int32_t(source));
    }
}

TEST_F(ViewerTest, ClearColourOnlyWhenAskedAndTheHostColourWithoutEnvironment) {
    env_.background = {0.2, 0.4, 0.6};
    glClearColor(0.9f, 0.9f, 0.9f, 0.5f);
    ViewerDefineEnv(&env_, 0, 0);
    EXPECT_RGBA(floats(GL_COLOR_CLEAR_VALUE), rgba(0.9, 0.9, 0.9, 0.5));
    ViewerDefineEnv(&env_, 0, 1);
    EXPECT_RGBA(floats(GL_COLOR_CLEAR_VALUE), rgba(0.2, 0.4, 0.6, 1.0));
    glEnable(GL_FOG);  // without an environment: the built-in one, without fog
    ViewerDefineEnv(nullptr, 0x00FF8000, 1);
    EXPECT_RGBA(floats(GL_COLOR_CLEAR_VALUE), rgba(0, 0x80 * 0.00392156862745098, 1.0, 1.0));
    EXPECT_EQ(glIsEnabled(GL_FOG), GL_FALSE);
}

TEST_F(ViewerTest, FogFollowsDensityAndType) {
    struct Case {
        double density;
        int32_t type;
        GLint mode;  // 0: fog off; GL_LINEAR is also what the reset before each call leaves
    };
    const Case cases[] = {{0.0, 1, 0},      {-1.0, 2, 0},       {0.001, 0, GL_LINEAR},
                          {0.5, 1, GL_EXP}, {0.25, 2, GL_EXP2}, {0.5, 7, GL_LINEAR}};
    env_.fogColor = {0.1, 0.2, 0.3};
    env_.fogNear = 2.5;
    env_.fogFar = 40.0;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "density " << c.density << " type " << c.type);
        glFogi(GL_FOG_MODE, GL_LINEAR);
        glFogf(GL_FOG_DENSITY, 1.0f);
        if (!c.mode) glEnable(GL_FOG);
        env_.fogDensity = c.density;
        env_.fogType = c.type;
        ViewerDefineEnv(&env_, 0, 0);
        EXPECT_EQ(glIsEnabled(GL_FOG), c.mode ? GL_TRUE : GL_FALSE);
        if (!c.mode) continue;
        EXPECT_EQ(integer(GL_FOG_MODE), c.mode);
        EXPECT_FLOAT_EQ(floats(GL_FOG_DENSITY)[0], float(c.density));
        EXPECT_FLOAT_EQ(floats(GL_FOG_START)[0], 2.5f);
        EXPECT_FLOAT_EQ(floats(GL_FOG_END)[0], 40.0f);
        EXPECT_RGBA(floats(GL_FOG_COLOR), rgba(0.1, 0.2, 0.3, 1.0));
    }
}

class LightsTest : public ViewerTest {
protected:
    void SetUp() override {
        ViewerTest::SetUp();
        env_.standardLights = 0;  // scene lights
        env_.brightness = 0.8;
        env_.ambient = {0, 0, 0};
    }
    static Lgt makeLight(int32_t type) {
        Lgt lgt;
        orv::setBuiltInDefaults(lgt);
        lgt.type = type;
        lgt.color = {1.0, 0.5, 0.25};
        lgt.gloss = 0.25;
        lgt.position = {3, 4, 12};
        lgt.target = {1, 2, 3};
        lgt.angle = 35;
        lgt.sharpness = 12;
        lgt.falloff = 0.75;
        return lgt;
    }
    int32_t define(std::vector<Lgt*> lights, int32_t on = 0, const double* eye = nullptr,
                   const double* view = nullptr) {
        lights.push_back(nullptr);
        ViewerDefineLgts(&env_, 0, lights.data(), &on, eye, view);
        return on;
    }
    static bool enabled(int index) { return glIsEnabled(GLenum(GL_LIGHT0 + index)) == GL_TRUE; }
    static float scalar(int index, GLenum pname) { return light(index, pname)[0]; }
};

TEST_F(LightsTest, SceneLightColoursSplitByGlossAndGeometryByType) {
    glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 0);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 0);
    const GLint depth = integer(GL_MODELVIEW_STACK_DEPTH);
    Lgt parallel = makeLight(0), spot = makeLight(1), point = makeLight(2), odd = makeLight(9);
    // The unknown type must keep whatever position the light had.
    glLightfv(GL_LIGHT3, GL_POSITION, rgba(7, 7, 7, 1).data());
    EXPECT_EQ(define({&parallel, &spot, &point, &odd}), 4);
    EXPECT_EQ(integer(GL_LIGHT_MODEL_LOCAL_VIEWER), 1);
    EXPECT_EQ(integer(GL_LIGHT_MODEL_TWO_SIDE), 1);
    EXPECT_EQ(integer(GL_MODELVIEW_STACK_DEPTH), depth);

    // position - target = (2, 2, 9), length sqrt(89); the spot aims the other way.
    const double n = std::sqrt(89.0);
    EXPECT_RGBA(light(0, GL_POSITION), rgba(2 / n, 2 / n, 9 / n, 0));
    EXPECT_FLOAT_EQ(scalar(0, GL_SPOT_CUTOFF), 180.0f);
    EXPECT_RGBA(light(1, GL_POSITION), rgba(3, 4, 12, 1));
    EXPECT_RGBA(light(1, GL_SPOT_DIRECTION), rgba(-2 / n, -2 / n, -9 / n, kUnset));
    EXPECT_FLOAT_EQ(scalar(1, GL_SPOT_CUTOFF), 35.0f);
    EXPECT_FLOAT_EQ(scalar(1, GL_SPOT_EXPONENT), 12.0f);
    EXPECT_NEAR(scalar(1, GL_QUADRATIC_ATTENUATION), 0.75f, 1e-6);
    EXPECT_RGBA(light(2, GL_POSITION), rgba(3, 4, 12, 1));
    EXPECT_FLOAT_EQ(scalar(2, GL_SPOT_CUTOFF), 180.0f);
    EXPECT_RGBA(light(3, GL_POSITION), rgba(7, 7, 7, 1));
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(enabled(i));
        // Colour (1, 0.5, 0.25), gloss 0.25, brightness 0.8.
        EXPECT_RGBA(light(i, GL_DIFFUSE), rgba(0.6, 0.5 * 0.6, 0.25 * 0.6, 1));
        EXPECT_RGBA(light(i, GL_SPECULAR), rgba(0.2, 0.5 * 0.2, 0.25 * 0.2, 1));
        EXPECT_RGBA(light(i, GL_AMBIENT), rgba(0, 0, 0, 0));
    }
}

TEST_F(LightsTest, NonZeroAmbientTakesLightZero) {
    const OrvVec3 cases[] = {{0, 0, 0}, {0, 0, 0.01}, {0.5, 0, 0}};
    Lgt lgt = makeLight(2);
    for (const OrvVec3& ambient : cases) {
        const int first = ambient.x || ambient.z ? 1 : 0;
        SCOPED_TRACE(first);
        env_.ambient = ambient;
        EXPECT_EQ(define({&lgt}), first + 1);
        EXPECT_RGBA(light(first, GL_POSITION), rgba(3, 4, 12, 1));
        if (first == 0) continue;
        EXPECT_RGBA(light(0, GL_AMBIENT),
                    rgba(ambient.x * 0.8, ambient.y * 0.8, ambient.z * 0.8, 1));
        EXPECT_RGBA(light(0, GL_DIFFUSE), rgba(0, 0, 0, 0));
        EXPECT_RGBA(light(0, GL_SPECULAR), rgba(0, 0, 0, 0));
        EXPECT_TRUE(enabled(0));
    }
}

TEST_F(LightsTest, LightsBeyondTheNewCountAreSwitchedOff) {
    std::vector<Lgt> six(6, makeLight(2));
    std::vector<Lgt*> all;
    for (Lgt& l : six) all.push_back(&l);
    const int32_t on = define(all);
    EXPECT_EQ(on, 6);
    glEnable(GL_LIGHT6);  // not counted as on: must be left alone
    EXPECT_EQ(define({all.begin(), all.begin() + 4}, on), 4);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(enabled(i), i < 4 || i == 6) << i;
}

TEST_F(LightsTest, StandardHeadLightAloneHasTheFullBrightnessAlsoWithoutEnvironment) {
    env_.standardLights = 129;  // the default: standard lights, camera only
    env_.ambient = {0.2, 0.3, 0.4};
    Lgt ignored = makeLight(2);
    EXPECT_EQ(define({&ignored}), 1);  // the scene's lights are not used
    // Without eye and view the head light is a front light 1000 away.
    EXPECT_RGBA(light(0, GL_DIFFUSE), rgba(0.8, 0.8, 0.8, 1));
    EXPECT_RGBA(light(0, GL_SPECULAR), rgba(0.8, 0.8, 0.8, 1));
    EXPECT_RGBA(light(0, GL_AMBIENT), rgba(0.2 * 0.8, 0.3 * 0.8, 0.4 * 0.8, 1));
    EXPECT_RGBA(light(0, GL_POSITION), rgba(0, 0, 1000, 1));
    EXPECT_RGBA(light(0, GL_SPOT_DIRECTION), rgba(0, 0, -1, kUnset));
    EXPECT_FLOAT_EQ(scalar(0, GL_SPOT_CUTOFF), 90.0f);

    // Without an environment: the built-in head light; the lights on before are switched off.
    int32_t on = 3;
    Lgt* none = nullptr;
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHT2);
    ViewerDefineLgts(nullptr, 0x00FFFFFF, &none, &on, nullptr, nullptr);
    EXPECT_EQ(on, 1);
    EXPECT_RGBA(light(0, GL_DIFFUSE), rgba(0.8, 0.8, 0.8, 1));
    EXPECT_RGBA(light(0, GL_AMBIENT), rgba(0.18 * 0.8, 0.18 * 0.8, 0.18 * 0.8, 1));
    EXPECT_FALSE(enabled(1));
    EXPECT_FALSE(enabled(2));
}

// The brightness is shared by half the count of bits 1 to 7 (bit 0 only selects the mode), but
// never by less than one.
TEST_F(LightsTest, StandardLightsShareTheBrightnessInOrder) {
    const double cases[][3] = {
        {0x03, 1, 1.0}, {0x07, 2, 1.0}, {0x0F, 3, 1.5}, {0x7F, 6, 3.0}, {0xFF, 7, 3.5}};
    const double eye[3] = {0, 0, 30}, view[6] = {0, 0, 10, 0, 1, 0};  // distance 20
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0]);
        env_.standardLights = uint32_t(c[0]);
        EXPECT_EQ(define({}, 0, eye, view), int32_t(c[1]));
        const double i = 0.8 / c[2];
        EXPECT_RGBA(light(0, GL_DIFFUSE), rgba(i, i, i, 1));
    }
    const double axes[6][3] = {{0, 0, 1}, {0, 0, -1}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}};
    const double i = 0.8 / 3.5;
    for (int n = 0; n < 6; ++n) {
        SCOPED_TRACE(n);
        const double* a = axes[n];
        EXPECT_RGBA(light(n, GL_DIFFUSE), rgba(i, i, i, 1));
        EXPECT_RGBA(light(n, GL_POSITION), rgba(20 * a[0], 20 * a[1], 20 * a[2], 1));
        EXPECT_RGBA(light(n, GL_SPOT_DIRECTION), rgba(-a[0], -a[1], -a[2], kUnset));
        EXPECT_FLOAT_EQ(scalar(n, GL_SPOT_CUTOFF), 90.0f);
    }
    // The head light comes last: a direction from a quarter of the distance above the eye.
    const double len = std::sqrt(5.0 * 5.0 + 20.0 * 20.0);
    EXPECT_RGBA(light(6, GL_POSITION), rgba(0, 5 / len, 20 / len, 0));
    EXPECT_RGBA(light(6, GL_SPECULAR), rgba(i, i, i, 1));
    EXPECT_FLOAT_EQ(scalar(6, GL_SPOT_CUTOFF), 180.0f);
}

}  // namespace
